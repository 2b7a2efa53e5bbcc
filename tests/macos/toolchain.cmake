# Compiles this project for the Mac on a Linux machine, as far as objects: the language checks, the
# declarations under tests/macos/declarations and the whole Apple side of the build are exercised.
# Nothing can be linked, because nothing of a Mac is here. MAC_ARCHITECTURE is x86_64 or arm64.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${MAC_ARCHITECTURE})
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MAC_ARCHITECTURE)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

find_program(MAC_CLANG clang++ REQUIRED)
find_program(MAC_AR llvm-ar REQUIRED)
find_program(MAC_RANLIB llvm-ranlib REQUIRED)
set(CMAKE_INSTALL_NAME_TOOL install_name_tool)  # asked for, and never run
foreach(language CXX OBJCXX)
  set(CMAKE_${language}_COMPILER ${MAC_CLANG})
  set(CMAKE_${language}_COMPILER_TARGET ${MAC_ARCHITECTURE}-apple-macos12.3)
  set(CMAKE_${language}_COMPILER_AR ${MAC_AR})
  set(CMAKE_${language}_COMPILER_RANLIB ${MAC_RANLIB})
  # What would be an executable on a Mac is an empty file here.
  set(CMAKE_${language}_LINK_EXECUTABLE "<CMAKE_COMMAND> -E touch <TARGET>")
endforeach()
set(CMAKE_AR ${MAC_AR} CACHE FILEPATH "" FORCE)
set(CMAKE_RANLIB ${MAC_RANLIB} CACHE FILEPATH "" FORCE)
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)

# This machine's C and C++ libraries stand in for the Mac's. Their headers come in this order:
# corrections for the Mac's architectures and sockets, the Mac's frameworks, then what g++ uses, but
# for g++'s own compiler headers.
execute_process(
  COMMAND g++ -E -v -x c++ /dev/null
  OUTPUT_QUIET ERROR_VARIABLE searched COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE ".*search starts here:\n(.*)\nEnd of search list.*" "\\1" searched "${searched}")
string(REGEX REPLACE "\n *" ";" searched "${searched}")
list(TRANSFORM searched STRIP)
list(FILTER searched EXCLUDE REGEX "/gcc/.*/include$")
set(headers "-isystem ${CMAKE_CURRENT_LIST_DIR}/libc -isystem ${CMAKE_CURRENT_LIST_DIR}/declarations")
foreach(folder IN LISTS searched)
  string(APPEND headers " -isystem ${folder}")
endforeach()
# clang defines __nonnull for the Mac, which this machine's C library means otherwise.
set(flags "-nostdinc++ -D_GNU_SOURCE -U__nonnull ${headers}")
set(CMAKE_CXX_FLAGS_INIT "${flags}")
set(CMAKE_OBJCXX_FLAGS_INIT "${flags}")

# Libraries beside this machine's own compiler; only their headers are used.
execute_process(
  COMMAND g++ -print-multiarch OUTPUT_VARIABLE multiarch OUTPUT_STRIP_TRAILING_WHITESPACE)
list(APPEND CMAKE_LIBRARY_PATH /usr/lib/${multiarch})
list(APPEND CMAKE_PREFIX_PATH /usr/lib/${multiarch}/cmake)
