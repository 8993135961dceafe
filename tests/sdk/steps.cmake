# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# What the scripts beside it have in common. Included by them.

cmake_minimum_required(VERSION 3.25)

# run(<command>...): ends the test with the command's output when it fails; leaves it in "output".
macro(run)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}\nended with ${result}:\n${output}")
  endif()
endmacro()

# run_failing(<expression> <command>...): the command has to fail and to say what matches, wherever it
# breaks its lines.
macro(run_failing expression)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  string(REGEX REPLACE "[ \n]+" " " output "${output}")
  if(result EQUAL 0 OR NOT result MATCHES "^[0-9]+$" OR NOT output MATCHES "${expression}")
    list(JOIN ARGN " " command)
    message(SEND_ERROR
      "${command}\nhad to fail and to say \"${expression}\", and ended with ${result}:\n${output}")
  endif()
endmacro()

# The one that scripts/bootstrap installs; the default's program may not be here.
set(ENV{CMAKE_GENERATOR} Ninja)

# The compiler's flags for code that meets instrumented code of ours.
set(flags "")
if(NOT SANITIZE STREQUAL "")
  set(flags "-fsanitize=${SANITIZE}")
endif()

# The same compiler, for a project outside. For another processor, packages are looked for in the sysroot
# and in the build folder only.
set(compiler -DCMAKE_CXX_COMPILER=${CXX})
if(NOT TOOLCHAIN STREQUAL "")
  set(compiler -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DCMAKE_FIND_ROOT_PATH=${BUILD})
endif()

# install_project(<prefix> [<component>...]): everything without components. A DESTDIR is in the environment.
function(install_project prefix)
  if(NOT ARGN)
    run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})
  endif()
  foreach(component IN LISTS ARGN)
    run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix} --component ${component})
  endforeach()
endfunction()

# No file below the folder may contain the text.
function(expect_nowhere text folder)
  execute_process(COMMAND grep --recursive --binary-files=text --files-with-matches --fixed-strings
    -e ${text} ${folder} RESULT_VARIABLE result OUTPUT_VARIABLE output)
  if(result EQUAL 0)
    message(SEND_ERROR "${text} stands in what is installed:\n${output}")
  elseif(NOT result EQUAL 1)
    message(SEND_ERROR "${folder} cannot be searched")
  endif()
endfunction()
