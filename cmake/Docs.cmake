# SPDX-License-Identifier: BSL-1.0
# `cmake --build ... --target docs`: a site of the README, the pages of docs/ and the reference of the
# public header, in docs/site of the build. Every warning is an error, so that what isn't documented,
# and a link that leads nowhere, is found. The page for browsers comes along where it was built.
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
  return()
endif()

set(DOXYGEN_PROJECT_NAME RegexClass)
set(DOXYGEN_PROJECT_BRIEF "${PROJECT_DESCRIPTION}")
set(DOXYGEN_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/docs)
set(DOXYGEN_HTML_OUTPUT site)
set(DOXYGEN_GENERATE_TREEVIEW YES)
set(DOXYGEN_DISABLE_INDEX NO)
set(DOXYGEN_FULL_SIDEBAR NO)
set(DOXYGEN_SEARCHENGINE YES)
set(DOXYGEN_TIMESTAMP NO)
set(DOXYGEN_GENERATE_LATEX NO)
set(DOXYGEN_HAVE_DOT NO)
set(DOXYGEN_QUIET YES)
set(DOXYGEN_WARN_AS_ERROR FAIL_ON_WARNINGS)
set(DOXYGEN_WARN_IF_UNDOCUMENTED YES)
set(DOXYGEN_WARN_NO_PARAMDOC NO)  # what goes in and out stands in the sentences
set(DOXYGEN_EXTRACT_ALL NO)
set(DOXYGEN_JAVADOC_AUTOBRIEF YES)
set(DOXYGEN_DISTRIBUTE_GROUP_DOC NO)
set(DOXYGEN_SORT_MEMBER_DOCS NO)
set(DOXYGEN_EXCLUDE_SYMBOLS RegexClass::detail "RegexClass::detail::*")
set(DOXYGEN_SHOW_INCLUDE_FILES NO)
# The page for browsers, where it was built.
set(try)
if(EXISTS ${PROJECT_SOURCE_DIR}/playground/build/regexclass.html)
  set(try regexclass.html)
  set(DOXYGEN_HTML_EXTRA_FILES ${PROJECT_SOURCE_DIR}/playground/build/regexclass.html)
endif()
set(DOXYGEN_FILTER_PATTERNS
  "*.hpp=awk -f ${PROJECT_SOURCE_DIR}/cmake/docs.awk"
  "*.md=env LC_ALL=C awk -v try=${try} -f ${PROJECT_SOURCE_DIR}/cmake/docs-page.awk")
set(DOXYGEN_STRIP_FROM_PATH ${PROJECT_SOURCE_DIR})
set(DOXYGEN_STRIP_FROM_INC_PATH ${PROJECT_SOURCE_DIR}/include)
set(DOXYGEN_MACRO_EXPANSION YES)
set(DOXYGEN_EXPAND_ONLY_PREDEF YES)
set(DOXYGEN_PREDEFINED REGEXCLASS_EXPORT=)
set(DOXYGEN_USE_MDFILE_AS_MAINPAGE ${PROJECT_SOURCE_DIR}/README.md)
set(DOXYGEN_IMAGE_PATH ${PROJECT_SOURCE_DIR}/docs)
set(DOXYGEN_TOC_INCLUDE_HEADINGS 2)

# The look, where it is installed.
set(look /usr/share/doxygen-awesome-css)
if(EXISTS ${look}/doxygen-awesome.css)
  set(DOXYGEN_HTML_EXTRA_STYLESHEET ${look}/doxygen-awesome.css
    ${look}/doxygen-awesome-sidebar-only.css ${PROJECT_SOURCE_DIR}/cmake/docs.css)
  set(DOXYGEN_HTML_COLORSTYLE LIGHT)
endif()

set(pages README guide moving users-expressions performance engine catalogues stream-format
  beyond-one-process)
list(TRANSFORM pages PREPEND ${PROJECT_SOURCE_DIR}/docs/)
list(TRANSFORM pages APPEND .md)
list(TRANSFORM pages REPLACE docs/README README)
list(APPEND pages ${PROJECT_SOURCE_DIR}/CONTRIBUTING.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
doxygen_add_docs(docs ${pages} ${PROJECT_SOURCE_DIR}/include/RegularExpression.hpp
  COMMENT "Writing the site to ${PROJECT_BINARY_DIR}/docs/site")
