// From arguments to the library's pattern of files.
#ifndef REGEXCLASS_TOOLS_FILEPATTERNS_HPP
#define REGEXCLASS_TOOLS_FILEPATTERNS_HPP

#include <string>
#include <vector>

#include "Problems.hpp"

namespace tool {

/// One pattern of all arguments. An argument that names something that exists stands for itself,
/// whatever characters are in it, so that the names that a shell makes of its patterns mean what
/// they say; a directory stands for its files. A plain name of nothing is a problem, unless it is
/// to be looked for in the directories below too.
std::string PatternOf(const std::vector<std::string>& arguments, bool recursive,
                      Problems& problems);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_FILEPATTERNS_HPP
