// SPDX-License-Identifier: BSL-1.0
#include "cli/FileJob.hpp"

#include <iterator>
#include <unordered_set>
#include <utility>

#include "platform/FileSystem.hpp"
#include "platform/System.hpp"

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

}  // namespace

FileJob::FileJob(const Request& r, FilesAlone) : request(r), style(r.style), choice(r.choice) {
  Apply(r.setUp, object);
  choice.arguments = r.inputs;
  choice.patterns = r.inputs.empty() && !choice.listFile ? object.GetFilesToMatch() : "";
  choice.nullNames = r.style.null;
  choice.recursive = object.GetDirectoryRecursion();
  object.SetDirectoryRecursion(false);
}

FileJob::FileJob(const Request& r) : FileJob(r, FilesAlone()) {
  UsePerlSyntax(object);
  CheckExpression(object, r);
  NarrowExpression(object, r);
}

std::vector<ListedFile> FileJob::List() {
  std::vector<ListedFile> files;
  std::vector<std::string> wrong;
  const auto take = [&](std::vector<ListedFile> found) {
    std::move(found.begin(), found.end(), std::back_inserter(files));
    progress.Show([&] { return std::to_string(files.size()) + " files found"; });
  };
  ListFiles(choice, object, take, wrong);
  progress.Clear();
  for (const std::string& problem : wrong) problems.Tell(problem);
  return files;
}

void FileJob::Tell(const PartMessages& messages) {
  for (const auto& [part, texts] : messages) {
    for (const std::string& text : texts) problems.Tell(text);
    if (!texts.empty() && !object.GetContinueFiles()) break;  // the others weren't wanted
  }
}

std::string Worker::TakeOutput() {
  std::string text = out.str();
  out.str("");
  return text;
}

std::string ContentOf(const std::string& file) {
  std::string content;
  RE reader;
  reader.SetExpression("(?:)");  // which matches in any
  reader.SetFilesToMatch(Escaped(file));
  reader.SetOnFindFilesClosure(
      [&](RE*, const std::string&, bool&) { content = reader.GetFileContent(); });
  reader.FindFiles();
  return content;
}

std::string PartSearch::Patterns() const {
  std::string patterns;
  for (std::size_t i = 0; i < part_.files.size();) {
    const ListedFile& file = part_.files[i];
    const bool directory = file.together > 1 && i + file.together <= part_.files.size();
    patterns += directory ? Escaped(DirectoryOf(file.name)) + '*' : Escaped(file.name);
    patterns += ';';
    i += directory ? file.together : 1;
  }
  return patterns;
}

void PartSearch::Prepare(RE& object) {
  if (part_.isWalk) {
    const auto count = [this, files = std::size_t{0}]() mutable {
      ++files;
      job_.progress.Show([&] { return std::to_string(files) + " files"; });
    };
    listed_ = PrepareWalk(job_.choice, object, count, failures_);
    return;
  }
  std::unordered_set<std::string> names;
  for (const ListedFile& file : part_.files) names.insert(file.name);
  object.SetFilesToMatch(Patterns());
  object.SetOnSelectingFilesClosure(
      [names = std::move(names)](RE*, const std::string& path, RE::EntryKinds kind, bool& taken) {
        taken = kind != RE::DirectoryEntry && names.count(path) != 0;
      });
}

bool PartSearch::IsUnwanted(const ListedFile& file, std::optional<std::string_view> content) const {
  if (!file.found || job_.choice.binary) return false;
  return LooksBinary(content ? *content : ContentOf(file.name));
}

std::size_t PartSearch::Find(const std::string& name, std::size_t from) const {
  while (from < part_.files.size() && part_.files[from].name != name) ++from;
  return from;
}

const ListedFile* PartSearch::Meet(const std::string& name, std::string_view content,
                                   const OnFile& without) {
  if (listed_) {
    met_ = listed_(name);
    return IsUnwanted(met_, content) ? nullptr : &met_;
  }
  const std::size_t at = Find(name, next_);
  if (at == part_.files.size()) return nullptr;  // it has come since the files were listed
  PassTo(at, without);
  ++next_;
  return IsUnwanted(part_.files[at], content) ? nullptr : &part_.files[at];
}

void PartSearch::Take(const std::vector<RE::FileSearchProblem>* problems) {
  if (problems == nullptr) return;
  std::size_t at = 0;
  for (const RE::FileSearchProblem& problem : *problems) {
    if (listed_) {
      if (!IsUnwanted(listed_(problem.file))) failures_.push_back(InWords(problem));
      continue;
    }
    const std::size_t found = Find(problem.file, at);
    if (found < part_.files.size()) {
      at = found;
      if (IsUnwanted(part_.files[at])) continue;
      failed_.insert(at);
      failures_.push_back(InWords(problem));
    } else {
      FailIn(problem);
    }
  }
}

/// Takes note that the files of a directory haven't been searched.
void PartSearch::FailIn(const RE::FileSearchProblem& problem) {
  const std::string& directory = problem.file;
  const std::size_t before = failures_.size();
  for (std::size_t i = 0; i < part_.files.size(); ++i) {
    std::string above = DirectoryOf(part_.files[i].name);
    while (above.size() > directory.size() && above.size() > 1) above.pop_back();
    const bool isIn = above == directory || (above.empty() && directory == ".");
    if (!isIn || !failed_.insert(i).second) continue;
    failures_.push_back(InWords({part_.files[i].name, problem.kind, problem.code}));
  }
  if (failures_.size() == before) failures_.push_back(InWords(problem));
}

void PartSearch::PassTo(std::size_t file, const OnFile& without) {
  for (; next_ < file; ++next_) {
    const ListedFile& passed = part_.files[next_];
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
      current = Meet(name, object.GetFileContent(), without);
    }
    more = current != nullptr && match(*current, marks, line);
  });
  object.GrepFiles();
  end();
  Take(object.GetGrepFilesErrors());
  PassTo(End(), without);
}

void PartSearch::FindFiles(RE& object, const OnFile& with, const OnFile& without) {
  Prepare(object);
  std::vector<std::size_t> found;
  object.SetOnFindFilesClosure([&](RE*, const std::string& name, bool&) {
    const ListedFile* const met = Meet(name, object.GetFileContent(), nullptr);
    if (met != nullptr && with) with(*met);
    if (next_ > 0) found.push_back(next_ - 1);  // which the walk has come to last
  });
  object.FindFiles();
  Take(object.GetFindFilesErrors());
  if (!without) return;
  next_ = 0;
  for (std::size_t i : found) {
    PassTo(i, without);
    next_ = i + 1;
  }
  PassTo(End(), without);
}

/// Behind the last file that was searched.
std::size_t PartSearch::End() const {
  return Stopped() && !failed_.empty() ? *failed_.begin() : part_.files.size();
}

}  // namespace tool
