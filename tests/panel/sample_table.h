/// NAME
///   sample_table - a table of the tests' own
///
/// PURPOSE
///   Tries the configuration cache by itself, without a plug-in: lines of a key and a value ("fruit
///   apple"), lines of a key behind "+" and a list ("+basket apple,pear"), "#" for comments, and an
///   after-save action that only counts, or fails when told to.

#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/conf.h"
#include "host/fen_file.h"
#include "host/fen_token.h"

namespace panel_test {

/// "KEY VALUE"
class Pair : public HeadDataSet {
 public:
  bool Parse(Cf cf) override {
    if (cf->pos() != cf->line_offset()) return false;
    cf.CacheStart(this, true);
    if (cf->token() == "+" || cf->token() == "=") return false;
    cf.CacheField(key);
    cf->GetUntilToken("\n", false, true);
    cf.CacheField(value);
    cf.CacheDone(this, false);
    return true;
  }

  std::string NewRecordTemplate() override { return key.Str() + "\t" + value.Str() + "\n"; }

  dd::Field key{*this, "key"};
  dd::Field value{*this, "value"};
};

/// "+KEY VALUE,VALUE"
class List : public HeadDataSet {
 public:
  bool Parse(Cf cf) override {
    if (cf->pos() != cf->line_offset()) return false;
    cf.CacheStart(this, true);
    if (cf->token() != "+") return false;
    cf->GetToken(false);
    cf.CacheField(key);
    cf->GetUntilToken("\n", false, true);
    cf.CacheField(values);
    cf.CacheDone(this, false);
    return true;
  }

  std::string NewRecordTemplate() override { return "+" + key.Str() + "\t" + values.Str() + "\n"; }

  dd::Field key{*this, "key"};
  dd::ArrayField values{*this, "values", ','};
};

/// "=KEY VALUE", written with a pattern
class Pattern : public HeadDataSet {
 public:
  bool Parse(Cf cf) override {
    if (cf->pos() != cf->line_offset()) return false;
    cf.CacheStart(this, true);
    if (cf->token() != "=") return false;
    cf->GetToken(false);
    cf.CacheField(key);
    cf->GetUntilToken("\n", false, true);
    cf.CacheField(value);
    cf.CacheDone(this, false);
    return true;
  }

  std::string NewRecordTemplate() override { return "=__key__\t__value__\n"; }

  dd::Field key{*this, "key"};
  dd::Field value{*this, "value"};
};

class SampleTable : public BaseCachedConfigEvent {
 public:
  static SampleTable& Instance() {
    static SampleTable table;
    return table;
  }

  template <class R>
  static Cursor<R> Get(const std::filesystem::path& path, bool create = true) {
    ConfRef ref = Instance().cache_.Config("SampleTable", fen_file::safe::Folder(), path, create);
    const SmartPtr<HeadDataSet> set = ref._Get(typeid(R).name());
    return Cursor<R>(static_cast<R*>(set.get()));
  }

  void AfterSave(ConfRef& ref, ConfCache::SaveReason& reason) override {
    saves.push_back({ref.FileName(), reason});
    if (action) action();
  }

  struct Save {
    std::string path;
    ConfCache::SaveReason reason;
    bool operator==(const Save&) const = default;
  };

  std::vector<Save> saves;       ///< every call of the after-save action
  std::function<void()> action;  ///< what the after-save action does besides

 private:
  SampleTable() : cache_(*new FenConfCache(20)) {
    auto rules = std::make_shared<fen_token::Params>();
    rules->Add(new fen_token::CharToken("+=", fen_token::Token::kSingle));
    rules->Add(new fen_token::CharToken("\t ", fen_token::Token::kSeparator));
    rules->Add(new fen_token::CharToken("\n", fen_token::Token::kEndOfLine));
    rules->Add(new fen_token::Comment("#", "\n", false));
    cache_.Register("SampleTable", rules);
    cache_._AfterSave("SampleTable", this, &BaseCachedConfigEvent::_AfterSave);
    cache_.Add("SampleTable", typeid(Pair).name(), "Pair", &ConfCache::Create<Pair>);
    cache_.Add("SampleTable", typeid(List).name(), "List", &ConfCache::Create<List>);
    cache_.Add("SampleTable", typeid(Pattern).name(), "Pattern", &ConfCache::Create<Pattern>);
  }

  FenConfCache& cache_;
};

/// Calls `step` and returns the text of the fen_err::Error that it throws; empty when it does not.
std::string ErrorOf(const std::function<void()>& step);

}  // namespace panel_test
