# Run as a script: writes OUTPUT, the C++ source of the page's FILES.
set(type.html "text/html; charset=utf-8")
set(type.css "text/css; charset=utf-8")
set(type.js "text/javascript; charset=utf-8")

set(arrays "")
set(entries "")
set(number 0)
foreach(file IN LISTS FILES)
  get_filename_component(name ${file} NAME)
  get_filename_component(extension ${file} LAST_EXT)
  if(NOT DEFINED type${extension})
    message(FATAL_ERROR "${file}: no content type is known for it")
  endif()
  math(EXPR number "${number} + 1")
  set(array file${number})
  file(READ ${file} bytes HEX)
  # Numbers, not a literal: the standard promises none of this length. The zero is behind the end.
  string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${bytes}")
  string(APPEND arrays "constexpr char ${array}[] = {${bytes}0};\n")
  string(APPEND entries
    "    {\"/${name}\", \"${type${extension}}\", {${array}, sizeof ${array} - 1}},\n")
endforeach()
file(CONFIGURE OUTPUT ${OUTPUT} @ONLY CONTENT [[
#include <array>

#include "agent/server/PageFiles.h"

namespace vesk::agent {
namespace {

@arrays@
constexpr auto files = std::to_array<PageFile>({
@entries@});

}  // namespace

std::span<const PageFile> pageFiles() { return files; }

}  // namespace vesk::agent
]])
