# What every target of the project is compiled with. Targets link `vesk_options`, so that nothing of
# it reaches a dependency.
add_library(vesk_options INTERFACE)
target_compile_options(vesk_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Werror)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # The Mac's frameworks say where null may be. That is no part of the language, which the files of
  # that platform need not pretend.
  target_compile_options(vesk_options INTERFACE -Wno-nullability-extension)
endif()
if(APPLE)
  target_compile_options(vesk_options INTERFACE
    -Wnullable-to-nonnull-conversion -Wunguarded-availability)
endif()
target_include_directories(vesk_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
# Qt's own words for its own things are words of other libraries too.
target_compile_definitions(vesk_options INTERFACE QT_NO_KEYWORDS)
if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ takes each file that is compiled together with others for a header, and warns of what would
  # be wrong in one.
  target_compile_options(vesk_options INTERFACE -Wno-subobject-linkage)
endif()

if(VESK_SANITIZERS)
  # The whole build is instrumented, so that a report names lines on both sides of every call.
  add_compile_options(-fsanitize=${VESK_SANITIZERS} -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  # The look at an object's type takes a descriptor each time, and some tests leave none.
  if(VESK_SANITIZERS MATCHES undefined)
    add_compile_options(-fno-sanitize=vptr)
  endif()
  add_link_options(-fsanitize=${VESK_SANITIZERS})
  # g++ 12 sees uninitialised memory in instrumented library code where there is none.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(vesk_options INTERFACE -Wno-maybe-uninitialized)
  endif()
endif()

if(VESK_PRECOMPILE)
  # What is compiled with a precompiled header has to be compiled as it was. Qt asks for this.
  target_compile_options(vesk_options INTERFACE -fPIC)
endif()

if(VESK_BUILD_FUZZERS)
  # libFuzzer looks for inputs that reach new code, so all of it must tell what was reached.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Links in a fifth of the time, what nobody ships. It would find a symbol in any library; with this it
# looks in those behind the one that asks, as other linkers do, so that no room reaches up.
find_program(VESK_LLD ld.lld)
if(VESK_LLD AND NOT APPLE AND (VESK_SANITIZERS OR CMAKE_BUILD_TYPE STREQUAL "Debug"))
  add_link_options(-fuse-ld=lld LINKER:--warn-backrefs LINKER:--fatal-warnings)
endif()
