/// NAME
///   map_answers - what the maps say that Postfix works with

#include "panel/trace/map_answers.h"

#include "host/fen_err.h"

namespace panel::trace {

MapAnswers AskMap(const std::string& map, const std::vector<std::string>& keys) {
  try {
    return {mail::LookUp(map, keys), ""};
  } catch (const fen_err::Error& error) {
    return {{}, error.value()};
  }
}

}  // namespace panel::trace
