# What makes a mistake harder to use, in what is shipped; the tests of the packages read it from the
# programs. The Mac's tools have their own ways; sanitizers look closer and are in the way of some of it;
# a debug build is to be quick.
if(APPLE OR VESK_SANITIZERS OR CMAKE_BUILD_TYPE STREQUAL "Debug")
  return()
endif()

# Everything lies where the loader chooses. Without the second, each call within a library would go by a
# table, as if another library might replace what is called.
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported()
add_compile_options(-fno-semantic-interposition)

add_compile_options(-fstack-protector-strong -fstack-clash-protection -Wformat -Werror=format-security)
# A distribution's own flags may name another level.
add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i.86)$")
  add_compile_options(-fcf-protection=full)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
  add_compile_options(-mbranch-protection=standard)
endif()
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack LINKER:--as-needed)

# The same bytes wherever it is built.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
