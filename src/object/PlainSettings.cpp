// SPDX-License-Identifier: BSL-1.0
// The settings that have no meaning but their own: what is set is stored, unchecked, and given
// back.

#include <string_view>
#include <utility>

#include "object/ExpressionState.hpp"

namespace RegexClass {

std::string RegularExpression::GetExpression() const { return state->settings.expression; }
void RegularExpression::SetExpression(const std::string& expression) {
  if (expression == state->settings.expression) return;
  state->settings.expression = expression;
  state->MarkNotCompiled();
}
void RegularExpression::SetExpression(std::string&& expression) {
  if (expression == state->settings.expression) return;
  state->settings.expression = std::move(expression);
  state->MarkNotCompiled();
}

std::string RegularExpression::GetStringToMatch() const { return state->settings.stringToMatch; }
void RegularExpression::SetStringToMatch(const std::string& text) {
  state->SettingsToChangeString().stringToMatch = text;
}
void RegularExpression::CopyStringToMatch(std::string_view text) {
  state->SettingsToChangeString().stringToMatch = text;
}
void RegularExpression::SetStringToMatch(std::string&& text) {
  state->SettingsToChangeString().stringToMatch = std::move(text);
}

std::string RegularExpression::GetFilesToMatch() const { return state->settings.filesToMatch; }
void RegularExpression::SetFilesToMatch(const std::string& pattern) {
  state->settings.filesToMatch = pattern;
}

bool RegularExpression::GetDirectoryRecursion() const { return state->settings.directoryRecursion; }
void RegularExpression::SetDirectoryRecursion(bool recursion) {
  state->settings.directoryRecursion = recursion;
}

bool RegularExpression::GetContinueFiles() const { return state->settings.continueFiles; }
void RegularExpression::SetContinueFiles(bool continueFiles) {
  state->settings.continueFiles = continueFiles;
}

std::string RegularExpression::GetSaveExtension() const { return state->settings.saveExtension; }
void RegularExpression::SetSaveExtension(const std::string& extension) {
  state->settings.saveExtension = extension;
}

bool RegularExpression::GetKeepCopies() const { return state->rewriting.keepCopies; }
void RegularExpression::SetKeepCopies(bool keep) { state->rewriting.keepCopies = keep; }

bool RegularExpression::GetChangeHardLinks() const { return state->rewriting.changeHardLinks; }
void RegularExpression::SetChangeHardLinks(bool change) {
  state->rewriting.changeHardLinks = change;
}

bool RegularExpression::GetSyncTogether() const { return state->rewriting.syncTogether; }
void RegularExpression::SetSyncTogether(bool together) { state->rewriting.syncTogether = together; }

unsigned long long RegularExpression::GetStepLimit() const { return state->stepLimit; }
void RegularExpression::SetStepLimit(unsigned long long steps) { state->stepLimit = steps; }

std::string RegularExpression::GetFormatString() const { return state->settings.formatString; }
void RegularExpression::SetFormatString(const std::string& format) {
  state->settings.formatString = format;
}

RegularExpression::FormatTypes RegularExpression::GetFormatType() const {
  return state->settings.formatType;
}
void RegularExpression::SetFormatType(FormatTypes type) { state->settings.formatType = type; }

bool RegularExpression::GetMergeCopy() const { return state->settings.mergeCopy; }
void RegularExpression::SetMergeCopy(bool copy) { state->settings.mergeCopy = copy; }

bool RegularExpression::GetMergeOnlyFirst() const { return state->settings.mergeOnlyFirst; }
void RegularExpression::SetMergeOnlyFirst(bool onlyFirst) {
  state->settings.mergeOnlyFirst = onlyFirst;
}

unsigned long RegularExpression::GetMaximumSplits() const { return state->settings.maximumSplits; }
void RegularExpression::SetMaximumSplits(unsigned long maximum) {
  state->settings.maximumSplits = maximum;
}

bool RegularExpression::GetSplitInputDelete() const { return state->settings.splitInputDelete; }
void RegularExpression::SetSplitInputDelete(bool inputDelete) {
  state->settings.splitInputDelete = inputDelete;
}

}  // namespace RegexClass
