/// NAME
///   access - what the panel database is opened for

#pragma once

namespace panel::db {

enum class Access {
  kChange,
  kLook,  ///< as it is: nothing is made, brought up to date or written
};

}  // namespace panel::db
