// SPDX-License-Identifier: BSL-1.0
// Who is told of the events of an object.

#include <utility>

#include "object/ExpressionState.hpp"

namespace RegexClass {

void RegularExpression::SetReportContext(bool context) { state->notifications.context = context; }
bool RegularExpression::GetReportContext() const { return state->notifications.context; }

void RegularExpression::SetOnMatching(MatchFunction function) {
  state->notifications.onMatching.SetFunction(function);
}
RegularExpression::MatchFunction RegularExpression::GetOnMatching() const {
  return state->notifications.onMatching.GetFunction();
}
void RegularExpression::SetOnMatchingClosure(MatchClosure closure) {
  state->notifications.onMatching.SetClosure(std::move(closure));
}
RegularExpression::MatchClosure RegularExpression::GetOnMatchingClosure() const {
  return state->notifications.onMatching.GetClosure();
}

void RegularExpression::SetOnSearching(MatchFunction function) {
  state->notifications.onSearching.SetFunction(function);
}
RegularExpression::MatchFunction RegularExpression::GetOnSearching() const {
  return state->notifications.onSearching.GetFunction();
}
void RegularExpression::SetOnSearchingClosure(MatchClosure closure) {
  state->notifications.onSearching.SetClosure(std::move(closure));
}
RegularExpression::MatchClosure RegularExpression::GetOnSearchingClosure() const {
  return state->notifications.onSearching.GetClosure();
}

void RegularExpression::SetOnGrepping(WalkFunction function) {
  state->notifications.onGrepping.SetFunction(function);
}
RegularExpression::WalkFunction RegularExpression::GetOnGrepping() const {
  return state->notifications.onGrepping.GetFunction();
}
void RegularExpression::SetOnGreppingClosure(WalkClosure closure) {
  state->notifications.onGrepping.SetClosure(std::move(closure));
}
RegularExpression::WalkClosure RegularExpression::GetOnGreppingClosure() const {
  return state->notifications.onGrepping.GetClosure();
}

void RegularExpression::SetOnGreppingFiles(FileMatchFunction function) {
  state->notifications.onGreppingFiles.SetFunction(function);
}
RegularExpression::FileMatchFunction RegularExpression::GetOnGreppingFiles() const {
  return state->notifications.onGreppingFiles.GetFunction();
}
void RegularExpression::SetOnGreppingFilesClosure(FileMatchClosure closure) {
  state->notifications.onGreppingFiles.SetClosure(std::move(closure));
}
RegularExpression::FileMatchClosure RegularExpression::GetOnGreppingFilesClosure() const {
  return state->notifications.onGreppingFiles.GetClosure();
}

void RegularExpression::SetOnFindFiles(FileFunction function) {
  state->notifications.onFindFiles.SetFunction(function);
}
RegularExpression::FileFunction RegularExpression::GetOnFindFiles() const {
  return state->notifications.onFindFiles.GetFunction();
}
void RegularExpression::SetOnFindFilesClosure(FileClosure closure) {
  state->notifications.onFindFiles.SetClosure(std::move(closure));
}
RegularExpression::FileClosure RegularExpression::GetOnFindFilesClosure() const {
  return state->notifications.onFindFiles.GetClosure();
}

void RegularExpression::SetOnMerging(WalkFunction function) {
  state->notifications.onMerging.SetFunction(function);
}
RegularExpression::WalkFunction RegularExpression::GetOnMerging() const {
  return state->notifications.onMerging.GetFunction();
}
void RegularExpression::SetOnMergingClosure(WalkClosure closure) {
  state->notifications.onMerging.SetClosure(std::move(closure));
}
RegularExpression::WalkClosure RegularExpression::GetOnMergingClosure() const {
  return state->notifications.onMerging.GetClosure();
}

void RegularExpression::SetOnChangingFiles(FileMatchFunction function) {
  state->notifications.onChangingFiles.SetFunction(function);
}
RegularExpression::FileMatchFunction RegularExpression::GetOnChangingFiles() const {
  return state->notifications.onChangingFiles.GetFunction();
}
void RegularExpression::SetOnChangingFilesClosure(FileMatchClosure closure) {
  state->notifications.onChangingFiles.SetClosure(std::move(closure));
}
RegularExpression::FileMatchClosure RegularExpression::GetOnChangingFilesClosure() const {
  return state->notifications.onChangingFiles.GetClosure();
}

void RegularExpression::SetOnSelectingFiles(EntryFunction function) {
  state->notifications.onSelectingFiles.SetFunction(function);
}
RegularExpression::EntryFunction RegularExpression::GetOnSelectingFiles() const {
  return state->notifications.onSelectingFiles.GetFunction();
}
void RegularExpression::SetOnSelectingFilesClosure(EntryClosure closure) {
  state->notifications.onSelectingFiles.SetClosure(std::move(closure));
}
RegularExpression::EntryClosure RegularExpression::GetOnSelectingFilesClosure() const {
  return state->notifications.onSelectingFiles.GetClosure();
}

}  // namespace RegexClass
