# SPDX-License-Identifier: BSL-1.0
# `cmake --build ... --target docs`: the reference of the public header, in docs/reference of the
# build. Every warning is an error, so that what isn't documented is found.
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
  return()
endif()

set(DOXYGEN_PROJECT_NAME RegexClass)
set(DOXYGEN_PROJECT_BRIEF "${PROJECT_DESCRIPTION}")
set(DOXYGEN_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/docs)
set(DOXYGEN_HTML_OUTPUT reference)
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
set(DOXYGEN_INPUT_FILTER "awk -f ${PROJECT_SOURCE_DIR}/cmake/docs.awk")
set(DOXYGEN_STRIP_FROM_PATH ${PROJECT_SOURCE_DIR}/include)
set(DOXYGEN_MACRO_EXPANSION YES)
set(DOXYGEN_EXPAND_ONLY_PREDEF YES)
set(DOXYGEN_PREDEFINED REGEXCLASS_EXPORT=)

doxygen_add_docs(docs ${PROJECT_SOURCE_DIR}/include/RegularExpression.hpp
  COMMENT "Writing the reference to ${PROJECT_BINARY_DIR}/docs/reference")
