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
void RegularExpression::SetOnMatchingCall(detail::Call<MatchFunction> call) {
  state->notifications.onMatching.SetClosure(std::move(call));
}
detail::Call<RegularExpression::MatchFunction> RegularExpression::GetOnMatchingCall() const {
  return state->notifications.onMatching.GetClosure();
}

void RegularExpression::SetOnSearching(MatchFunction function) {
  state->notifications.onSearching.SetFunction(function);
}
RegularExpression::MatchFunction RegularExpression::GetOnSearching() const {
  return state->notifications.onSearching.GetFunction();
}
void RegularExpression::SetOnSearchingCall(detail::Call<MatchFunction> call) {
  state->notifications.onSearching.SetClosure(std::move(call));
}
detail::Call<RegularExpression::MatchFunction> RegularExpression::GetOnSearchingCall() const {
  return state->notifications.onSearching.GetClosure();
}

void RegularExpression::SetOnGrepping(WalkFunction function) {
  state->notifications.onGrepping.SetFunction(function);
}
RegularExpression::WalkFunction RegularExpression::GetOnGrepping() const {
  return state->notifications.onGrepping.GetFunction();
}
void RegularExpression::SetOnGreppingCall(detail::Call<WalkFunction> call) {
  state->notifications.onGrepping.SetClosure(std::move(call));
}
detail::Call<RegularExpression::WalkFunction> RegularExpression::GetOnGreppingCall() const {
  return state->notifications.onGrepping.GetClosure();
}

void RegularExpression::SetOnGreppingFiles(FileMatchFunction function) {
  state->notifications.onGreppingFiles.SetFunction(function);
}
RegularExpression::FileMatchFunction RegularExpression::GetOnGreppingFiles() const {
  return state->notifications.onGreppingFiles.GetFunction();
}
void RegularExpression::SetOnGreppingFilesCall(detail::Call<FileMatchFunction> call) {
  state->notifications.onGreppingFiles.SetClosure(std::move(call));
}
detail::Call<RegularExpression::FileMatchFunction> RegularExpression::GetOnGreppingFilesCall()
    const {
  return state->notifications.onGreppingFiles.GetClosure();
}

void RegularExpression::SetOnFindFiles(FileFunction function) {
  state->notifications.onFindFiles.SetFunction(function);
}
RegularExpression::FileFunction RegularExpression::GetOnFindFiles() const {
  return state->notifications.onFindFiles.GetFunction();
}
void RegularExpression::SetOnFindFilesCall(detail::Call<FileFunction> call) {
  state->notifications.onFindFiles.SetClosure(std::move(call));
}
detail::Call<RegularExpression::FileFunction> RegularExpression::GetOnFindFilesCall() const {
  return state->notifications.onFindFiles.GetClosure();
}

void RegularExpression::SetOnMerging(WalkFunction function) {
  state->notifications.onMerging.SetFunction(function);
}
RegularExpression::WalkFunction RegularExpression::GetOnMerging() const {
  return state->notifications.onMerging.GetFunction();
}
void RegularExpression::SetOnMergingCall(detail::Call<WalkFunction> call) {
  state->notifications.onMerging.SetClosure(std::move(call));
}
detail::Call<RegularExpression::WalkFunction> RegularExpression::GetOnMergingCall() const {
  return state->notifications.onMerging.GetClosure();
}

void RegularExpression::SetOnChangingFiles(FileMatchFunction function) {
  state->notifications.onChangingFiles.SetFunction(function);
}
RegularExpression::FileMatchFunction RegularExpression::GetOnChangingFiles() const {
  return state->notifications.onChangingFiles.GetFunction();
}
void RegularExpression::SetOnChangingFilesCall(detail::Call<FileMatchFunction> call) {
  state->notifications.onChangingFiles.SetClosure(std::move(call));
}
detail::Call<RegularExpression::FileMatchFunction> RegularExpression::GetOnChangingFilesCall()
    const {
  return state->notifications.onChangingFiles.GetClosure();
}

void RegularExpression::SetOnSelectingFiles(EntryFunction function) {
  state->notifications.onSelectingFiles.SetFunction(function);
}
RegularExpression::EntryFunction RegularExpression::GetOnSelectingFiles() const {
  return state->notifications.onSelectingFiles.GetFunction();
}
void RegularExpression::SetOnSelectingFilesCall(detail::Call<EntryFunction> call) {
  state->notifications.onSelectingFiles.SetClosure(std::move(call));
}
detail::Call<RegularExpression::EntryFunction> RegularExpression::GetOnSelectingFilesCall() const {
  return state->notifications.onSelectingFiles.GetClosure();
}

}  // namespace RegexClass
