// SPDX-License-Identifier: BSL-1.0
#include "Bridge.hpp"

#include <RegularExpression.hpp>
#include <algorithm>
#include <cstddef>
#include <limits>
#include <locale>
#include <new>
#include <sstream>
#include <stdexcept>

#include "Exports.hpp"
#include "output/Json.hpp"
#include "output/Names.hpp"
#include "output/ShownSettings.hpp"

namespace playground {

using RegexClass::REMatch;
using tool::Json;
using tool::JsonBytes;
using tool::RE;

namespace {

/// What an answer has of texts that are made, in bytes.
constexpr std::size_t kMostText = std::size_t{8} << 20;

struct BadRequest : std::logic_error {
  using std::logic_error::logic_error;
};

std::string BytesOf(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.contains("text")) return value.at("text").get<std::string>();
  return tool::BytesOfBase64(value.at("bytes").get<std::string>());
}

template <class Value, std::size_t size>
const tool::Name<Value>* Find(const tool::Name<Value> (&table)[size], const std::string& name) {
  const auto* const found = std::find_if(std::begin(table), std::end(table),
                                         [&](const auto& entry) { return name == entry.name; });
  return found != std::end(table) ? found : nullptr;
}

template <class Value, std::size_t size>
Value Named(const tool::Name<Value> (&table)[size], const std::string& name) {
  const tool::Name<Value>* const found = Find(table, name);
  if (found == nullptr) throw BadRequest("no such name: " + name);
  return found->value;
}

void SetExpressionOptions(const Json& settings, RE& object) {
  const bool syntax = settings.contains("syntax");
  if (!syntax && !settings.contains("options")) return;
  object.ClearExpressionOptions();
  for (const Json& name : settings.value("syntax", Json::array())) {
    object.AddExpressionOption(Named(tool::kSyntaxes, name.get<std::string>()));
  }
  // A switch is taken as it is, whatever the syntax has; without any, the syntax says it all.
  const std::vector<std::string> wanted = settings.value("options", std::vector<std::string>());
  for (const std::string& name : wanted) {
    const RE::Options option = Named(tool::kSwitches, name);
    if (!object.IsExpressionOption(option)) object.AddExpressionOption(option);
  }
  if (!settings.contains("options")) return;
  for (const auto& entry : tool::kSwitches) {
    const bool kept = std::find(wanted.begin(), wanted.end(), entry.name) != wanted.end();
    if (!kept) object.DeleteExpressionOption(entry.value);
  }
}

void SetMatchOptions(const Json& settings, RE& object) {
  if (!settings.contains("match_options")) return;
  object.ClearMatchOptions();
  for (const Json& name : settings.at("match_options")) {
    object.AddMatchOption(Named(tool::kMatchOptions, name.get<std::string>()));
  }
}

/// Calls `set` with the value that the settings have under a key, when they have one.
template <class Value, class Set>
void WithSetting(const Json& settings, const char* key, const Set& set) {
  if (settings.contains(key)) set(settings.at(key).get<Value>());
}

template <class Set>
void WithBytes(const Json& settings, const char* key, const Set& set) {
  if (settings.contains(key)) set(BytesOf(settings.at(key)));
}

/// Everything but the text.
void Apply(const Json& settings, RE& object) {
  SetExpressionOptions(settings, object);
  SetMatchOptions(settings, object);
  using Text = std::string;
  WithBytes(settings, "expression", [&](Text value) { object.SetExpression(std::move(value)); });
  WithSetting<Text>(settings, "locale_model", [&](const Text& name) {
    object.SetLocaleModel(Named(tool::kLocaleModels, name));
  });
  WithBytes(settings, "locale_dll", [&](const Text& value) { object.SetLocaleDll(value); });
  WithBytes(settings, "format", [&](const Text& value) { object.SetFormatString(value); });
  WithSetting<Text>(settings, "format_type", [&](const Text& name) {
    object.SetFormatType(Named(tool::kFormatTypes, name));
  });
  WithSetting<bool>(settings, "copy", [&](bool value) { object.SetMergeCopy(value); });
  WithSetting<bool>(settings, "only_first", [&](bool value) { object.SetMergeOnlyFirst(value); });
  WithSetting<std::uint32_t>(settings, "max_splits",
                             [&](std::uint32_t value) { object.SetMaximumSplits(value); });
  WithSetting<bool>(settings, "input_delete",
                    [&](bool value) { object.SetSplitInputDelete(value); });
  WithBytes(settings, "files", [&](const Text& value) { object.SetFilesToMatch(value); });
  WithSetting<bool>(settings, "recursive",
                    [&](bool value) { object.SetDirectoryRecursion(value); });
  WithSetting<bool>(settings, "continue", [&](bool value) { object.SetContinueFiles(value); });
  WithBytes(settings, "save", [&](const Text& value) { object.SetSaveExtension(value); });
}

void TakeStep(const std::string& step, RE& object) {
  const std::string name = step.substr(std::min<std::size_t>(step.size(), 1));
  const bool adds = step[0] == '+';
  if (!adds && step[0] != '-') throw BadRequest("no step: " + step);
  const auto change = [&](const auto* entry, auto add, auto remove) {
    if (entry == nullptr) return false;
    (object.*(adds ? add : remove))(entry->value);
    return true;
  };
  if (step == "+none") return object.ClearExpressionOptions();
  if (change(Find(tool::kSyntaxes, name), &RE::AddExpressionOption, &RE::DeleteExpressionOption) ||
      change(Find(tool::kSwitches, name), &RE::AddExpressionOption, &RE::DeleteExpressionOption) ||
      change(Find(tool::kMatchOptions, name), &RE::AddMatchOption, &RE::DeleteMatchOption)) {
    return;
  }
  throw BadRequest("no such option: " + name);
}

void ReadRecord(const std::string& record, RE& object) {
  std::istringstream in(record);
  in.imbue(std::locale::classic());
  if (!(in >> object) || !(in >> std::ws).eof()) throw BadRequest("not a record, or a damaged one");
}

/// The names of RE::ExpressionErrorCode.
constexpr const char* kErrorNames[] = {"NoError",
                                       "NoExpression",
                                       "BadPattern",
                                       "BadCollation",
                                       "BadCharacterClass",
                                       "TrailingEscape",
                                       "BadBackReference",
                                       "UnmatchedBracket",
                                       "UnmatchedParenthesis",
                                       "UnmatchedBrace",
                                       "BadBraceContents",
                                       "BadRange",
                                       "OutOfSpace",
                                       "BadRepeat",
                                       "UnexpectedEnd",
                                       "TooBig",
                                       "UnmatchedRightParenthesis",
                                       "EmptyPattern",
                                       "OutOfMemory",
                                       "UnknownEngineError",
                                       "LocaleDllFailure"};

/// A request on its way to its answer.
class PageRequest {
 public:
  explicit PageRequest(const Json& request)
      : request_(request),
        operation_(request.value("operation", std::string())),
        most_(request.value("most", std::uint32_t{100000})) {}

  Answer Do() {
    std::string text;
    if (request_.contains("record")) ReadRecord(BytesOf(request_.at("record")), object_);
    if (request_.contains("settings")) {
      const Json& settings = request_.at("settings");
      Apply(settings, object_);
      WithBytes(settings, "text", [&](std::string value) { text = std::move(value); });
    }
    for (const Json& step : request_.value("steps", Json::array())) {
      TakeStep(step.get<std::string>(), object_);
    }
    Json& settings = answer_["settings"] = tool::InJson(object_);
    if (!request_.contains("record")) {
      settings.erase("text");
      object_.SetStringToMatch(std::move(text));
    }
    if (request_.contains("export")) Export(request_.at("export").get<std::string>());
    if (!operation_.empty()) Operate();
    return {answer_.dump(), std::move(spans_)};
  }

 private:
  void Export(const std::string& operation) {
    answer_["program"] = JsonBytes(Program(object_, operation));
    answer_["record"] = JsonBytes(Record(object_));
    answer_["command"] = JsonBytes(CommandLine(object_, operation));
  }

  void Operate() {
    const RE::ExpressionErrorCode code = object_.ParseExpression();
    if (code != RE::NoError && !(code == RE::NoExpression && operation_ == "split")) {
      answer_["error"] = {{"code", static_cast<int>(code)},
                          {"name", kErrorNames[code]},
                          {"message", JsonBytes(object_.GetExpressionError())},
                          {"position", object_.GetExpressionErrorPosition()}};
      return;
    }
    answer_["groups"] = object_.NumberOfSubexpressions();
    object_.SetReportContext(false);
    try {
      CallOperation();
    } catch (const std::runtime_error& error) {
      answer_["gave_up"] = JsonBytes(error.what());
    } catch (const std::bad_alloc&) {
      answer_["gave_up"] = JsonBytes("There is no memory left for this.");
    }
    answer_["count"] = count_;
    if (capped_) answer_["capped"] = true;
    if (made_ > kMostText) answer_["cut"] = true;
  }

  void CallOperation() {
    if (operation_ == "match" || operation_ == "match-all") {
      object_.SetOnMatchingClosure([this](RE*, const auto& match, unsigned int line,
                                          unsigned int start) { Report(match, line, start); });
      operation_ == "match" ? object_.Match() : object_.MatchAll();
    } else if (operation_ == "search") {
      object_.SetOnSearchingClosure([this](RE*, const auto& match, unsigned int line,
                                           unsigned int start) { Report(match, line, start); });
      object_.Search();
    } else if (operation_ == "grep") {
      Walk();
    } else if (operation_ == "format") {
      Format();
    } else if (operation_ == "merge") {
      Merge();
    } else if (operation_ == "split") {
      Split();
    } else if (operation_ == "check") {
      Check();
    } else {
      throw BadRequest("no such operation: " + operation_);
    }
  }

  bool Report(const std::vector<REMatch>& match, unsigned int line, unsigned int lineStart) {
    if (count_ == most_) {
      capped_ = true;
      return false;
    }
    ++count_;
    spans_.push_back(static_cast<std::int32_t>(line));
    spans_.push_back(static_cast<std::int32_t>(lineStart));
    for (std::size_t i = 0; i + 2 < match.size(); ++i) {  // without the text around the match
      spans_.push_back(match[i].position);
      const auto size = static_cast<std::int32_t>(match[i].text.size());
      spans_.push_back(match[i].position < 0 ? -1 : match[i].position + size);
    }
    return true;
  }

  void Walk() {
    object_.SetOnGreppingClosure([this](RE*, const std::vector<REMatch>& match, unsigned int line,
                                        unsigned int start,
                                        bool& goOn) { goOn = Report(match, line, start); });
    object_.Grep();
    object_.SetOnGreppingClosure(nullptr);
  }

  /// Adds a text to a list, as long as there is room.
  void AddText(Json& list, const std::string& text) {
    if (made_ > kMostText) return;
    made_ += text.size() + 1;
    if (made_ <= kMostText) list.push_back(JsonBytes(text));
  }

  void Format() {
    Json& all = answer_["formatted"] = Json::array();
    object_.SetOnGreppingClosure([&](RE* object, const std::vector<REMatch>& match,
                                     unsigned int line, unsigned int start, bool& goOn) {
      goOn = Report(match, line, start);
      if (!goOn) return;
      std::string formatted;
      object->Format(formatted);
      AddText(all, formatted);
    });
    object_.Grep();
  }

  void Merge() {
    // With nobody to notify, Merge reads the format string as FormatAll, whatever its type.
    if (object_.GetFormatType() != RE::FormatAll) {
      object_.SetOnMerging(
          [](RE*, const std::vector<REMatch>&, unsigned int, unsigned int, bool&) {});
    }
    std::string merged;
    object_.Merge(merged);
    made_ = merged.size();
    if (made_ > kMostText) merged.resize(kMostText);
    answer_["merged"] = JsonBytes(merged);
    object_.DeleteMatchOption(RE::MatchPartial);  // which Merge takes no notice of
    if (object_.GetMergeOnlyFirst()) most_ = std::min(most_, std::uint32_t{1});
    Walk();
    capped_ = capped_ && !object_.GetMergeOnlyFirst();
  }

  void Split() {
    std::vector<std::string> pieces;
    if (!object_.GetExpression().empty()) Walk();
    object_.Split(pieces);
    count_ = std::min<std::size_t>(pieces.size(), most_);
    capped_ = count_ < pieces.size();
    pieces.resize(count_);
    Json& all = answer_["pieces"] = Json::array();
    for (const std::string& piece : pieces) AddText(all, piece);
    if (object_.GetSplitInputDelete()) {
      const std::string rest = object_.GetStringToMatch();
      made_ += rest.size();
      answer_["rest"] = JsonBytes(rest.substr(0, kMostText));
    }
  }

  void Check() {
    Json& verdicts = answer_["verdicts"] = Json::array();
    for (const Json& text : request_.value("texts", Json::array())) {
      if (count_ == most_) {
        capped_ = true;
        break;
      }
      ++count_;
      object_.SetStringToMatch(BytesOf(text));
      verdicts.push_back(object_.Search());
    }
  }

  const Json& request_;
  const std::string operation_;
  std::uint32_t most_;
  RE object_;
  Json answer_;
  std::vector<std::int32_t> spans_;
  std::size_t count_ = 0;
  std::size_t made_ = 0;
  bool capped_ = false;
};

Answer Refuse(const std::string& reason) {
  return {Json{{"bad_request", JsonBytes(reason)}}.dump(), {}};
}

}  // namespace

Answer Run(const std::string& request) {
  try {
    const Json json = Json::parse(request);
    return PageRequest(json).Do();
  } catch (const Json::exception& error) {
    return Refuse(error.what());
  } catch (const BadRequest& error) {
    return Refuse(error.what());
  }
}

}  // namespace playground
