# SPDX-License-Identifier: BSL-1.0
# Installs into a scratch prefix; builds the README's program against that, once with find_package,
# or with the sources as part of the program's project, and once with pkg-config; and runs it.
#
#   cmake -DBUILD=... -DSOURCE=... -DWORK=... -DCXX=... -DFLAGS=... [-DSTATIC=ON] -P install_test.cmake
function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGV}: ${result}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

function(expect_greeting)
  if(NOT output MATCHES "user ann")
    message(FATAL_ERROR "the program printed: ${output}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

# The first program of the README, as it stands there.
file(READ ${SOURCE}/README.md readme)
string(REGEX MATCH "```cpp\n([^`]*)```" found "${readme}")
file(WRITE ${WORK}/program.cpp "${CMAKE_MATCH_1}")

if(STATIC)  # the library as part of the consumer's project, which installs it
  set(BUILD ${WORK}/consumer)
  set(source -DSOURCE=${SOURCE} -DREGEXCLASS_INSTALL=ON -DCMAKE_BUILD_TYPE=Debug)
else()
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix)
endif()
run(${CMAKE_COMMAND} -S ${SOURCE}/tests/consumer -B ${WORK}/consumer -G Ninja ${source}
  -DCMAKE_PREFIX_PATH=${WORK}/prefix -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${FLAGS}"
  -DPROGRAM=${WORK}/program.cpp)
run(${CMAKE_COMMAND} --build ${WORK}/consumer)
run(${WORK}/consumer/consumer)
expect_greeting()
if(STATIC)
  run(${CMAKE_COMMAND} --install ${WORK}/consumer --prefix ${WORK}/prefix)
endif()

file(GLOB_RECURSE pc ${WORK}/prefix/*/regexclass.pc)
get_filename_component(pc_dir ${pc} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
run(pkg-config --cflags --libs regexclass)
separate_arguments(pc_flags UNIX_COMMAND "${output}")
separate_arguments(cxx_flags UNIX_COMMAND "${FLAGS}")
get_filename_component(lib_dir ${pc_dir} DIRECTORY)
run(${CXX} -std=c++17 ${cxx_flags} ${WORK}/program.cpp ${pc_flags} -Wl,-rpath,${lib_dir}
  -o ${WORK}/by-pkg-config)
run(${WORK}/by-pkg-config)
expect_greeting()

# A program built apart from the library: with another Boost.Function, and with its own idea of the
# exception that passes to it.
run(${CXX} -std=c++17 ${cxx_flags} -I${SOURCE}/tests/consumer/another-boost
  ${SOURCE}/tests/consumer/apart.cpp ${pc_flags} -Wl,-rpath,${lib_dir} -o ${WORK}/apart)
run(${WORK}/apart)

if(NOT STATIC)
  run(nm -D --defined-only --demangle ${lib_dir}/libregexclass.so)
  if(NOT output MATCHES " typeinfo for boost::regex_error")
    message(FATAL_ERROR "the exception's type is hidden")
  endif()
  string(REGEX REPLACE "[^\n]+ (typeinfo |typeinfo name |vtable )?(for )?RegexClass::[^\n]*\n" "" output "${output}")
  string(REGEX REPLACE "[^\n]+ typeinfo (name )?for boost::regex_error[^\n]*\n" "" output "${output}")
  string(REGEX REPLACE "[^\n]+ A REGEXCLASS_[^\n]*\n" "" output "${output}")
  if(output)
    message(FATAL_ERROR "the library shows what isn't its own:\n${output}")
  endif()
endif()

if(EXISTS ${WORK}/prefix/bin/regexclass)
  run(${WORK}/prefix/bin/regexclass grep -o a+n -t banana)
  foreach(file share/man/man1/regexclass.1 share/bash-completion/completions/regexclass)
    if(NOT EXISTS ${WORK}/prefix/${file})
      message(FATAL_ERROR "${file} is missing")
    endif()
  endforeach()
endif()
