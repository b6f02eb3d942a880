// SPDX-License-Identifier: BSL-1.0
#include "FileJob.hpp"

#include <algorithm>
#include <utility>

#include "FileSystem.hpp"
#include "System.hpp"

namespace tool {

namespace {

using RegexClass::REMatch;

/// Gives the object the options that the walk goes by, so that what is checked here is what runs,
/// and a replacement is made by the same expression.
void UsePerlSyntax(RE& object) {
  if (!object.IsExpressionOption(RE::NormalSyntax) || object.IsExpressionOption(RE::Literal)) {
    Problems::Note("note: operations on files read the expression in the syntax perl");
  }
  const bool ignoreCase = object.IsExpressionOption(RE::Icase);
  object.ClearExpressionOptions();
  object.AddExpressionOption(RE::NormalSyntax);
  if (ignoreCase) object.AddExpressionOption(RE::Icase);
}

const char* Words(RE::SearchProblemKind kind) {
  switch (kind) {
    case RE::FileNotOpened:
      return "can't open";
    case RE::FileNotRead:
      return "can't read";
    case RE::FileNotSearched:
      return "can't search to the end";
  }
  return "failed";
}

std::string InWords(const RE::FileSearchProblem& problem) {
  return problem.file + ": " + Words(problem.kind) + ": " +
         (problem.code != 0 ? LibraryWords(problem.code) : "the expression is too complex for it");
}

}  // namespace

FileJob::FileJob(const Request& r, FilesAlone) : request(r), style(r.style) {
  Apply(r.setUp, object);
  FileChoice choice = r.choice;
  choice.arguments = r.inputs;
  choice.patterns = r.inputs.empty() && !choice.listFile ? object.GetFilesToMatch() : "";
  choice.nullNames = r.style.null;
  choice.recursive = object.GetDirectoryRecursion();
  object.SetDirectoryRecursion(false);
  files = ListFiles(choice, problems, progress);
}

FileJob::FileJob(const Request& r) : FileJob(r, FilesAlone()) {
  UsePerlSyntax(object);
  CheckExpression(object, false);
  NarrowExpression(object, r);
}

void FileJob::Tell(const PartMessages& messages) {
  for (const auto& [part, texts] : messages) {
    for (const std::string& text : texts) problems.Tell(text);
    if (!texts.empty() && !object.GetContinueFiles()) break;  // the others weren't wanted
  }
}

std::size_t PartSize(const FileJob& job) {
  // A few parts for each worker, so that none waits long for another at the end; and not too small,
  // since an object gets faster on many files.
  const std::size_t parts = std::size_t{job.request.jobs} * 8;
  return job.request.jobs == 1 ? 1024 : std::clamp<std::size_t>(job.files.size() / parts, 1, 1024);
}

std::string Worker::TakeOutput() {
  std::string text = out.str();
  out.str("");
  return text;
}

void PartSearch::Prepare(RE& object) const {
  std::string pattern;
  for (std::size_t i = part_.begin; i < part_.end;) {
    const ListedFile& file = job_.files[i];
    if (i > part_.begin) pattern += ';';
    const bool directory = file.together > 0 && i + file.together <= part_.end;
    pattern += directory ? Escaped(DirectoryOf(file.name)) + '*' : Escaped(file.name);
    i += directory ? file.together : 1;
  }
  object.SetFilesToMatch(pattern);
}

bool PartSearch::IsUnwanted(const ListedFile& file, std::optional<std::string_view> content) const {
  if (!file.found || job_.request.choice.binary) return false;
  return LooksBinary(content ? *content : ContentOf(file.name, kLookedAt));
}

std::size_t PartSearch::Find(const std::string& name, std::size_t from) const {
  while (from < part_.end && job_.files[from].name != name) ++from;
  return from;
}

void PartSearch::Take(const std::vector<RE::FileSearchProblem>* problems) {
  if (problems == nullptr) return;
  std::size_t at = part_.begin;
  for (const RE::FileSearchProblem& problem : *problems) {
    const std::size_t found = Find(problem.file, at);
    if (found == part_.end) continue;
    at = found;
    if (IsUnwanted(job_.files[at])) continue;
    failed_.insert(at);
    failures_.push_back(InWords(problem));
  }
}

void PartSearch::PassTo(std::size_t file, const OnFile& without) {
  for (; next_ < file; ++next_) {
    const ListedFile& passed = job_.files[next_];
    if (without && failed_.count(next_) == 0 && !IsUnwanted(passed)) without(passed);
  }
}

void PartSearch::GrepFiles(RE& object, const OnMatch& match, const OnFile& done,
                           const OnFile& without) {
  const ListedFile* current = nullptr;
  const auto end = [&] {
    if (current != nullptr) done(*current);
    current = nullptr;
  };
  Prepare(object);
  object.SetOnGreppingFilesClosure([&](RE*, const std::string& name,
                                       const std::vector<REMatch>& marks, unsigned int line,
                                       bool& more) {
    if (current == nullptr || name != current->name) {
      end();
      const std::size_t at = Find(name, next_);
      more = at < part_.end;
      if (!more) return;  // it has come since the files were listed
      PassTo(at, without);
      ++next_;
      more = !IsUnwanted(job_.files[at], object.GetFileContent());
      if (!more) return;
      current = &job_.files[at];
    }
    more = match(*current, marks, line);
  });
  object.GrepFiles();
  end();
  Take(object.GetGrepFilesErrors());
  PassTo(End(), without);
}

void PartSearch::FindFiles(RE& object, const OnFile& with, const OnFile& without) {
  Prepare(object);
  std::size_t at = part_.begin;
  std::set<std::size_t> found;
  object.SetOnFindFilesClosure([&](RE*, const std::string& name, bool&) {
    const std::size_t next = Find(name, at);
    if (next == part_.end) return;
    at = next;
    found.insert(at);
    if (with && !IsUnwanted(job_.files[at], object.GetFileContent())) with(job_.files[at]);
  });
  object.FindFiles();
  Take(object.GetFindFilesErrors());
  if (!without) return;
  for (std::size_t i : found) {
    PassTo(i, without);
    ++next_;
  }
  PassTo(End(), without);
}

/// Behind the last file that was searched.
std::size_t PartSearch::End() const { return Stopped() ? *failed_.begin() : part_.end; }

}  // namespace tool
