#pragma once

#include <span>
#include <string_view>

namespace vesk::agent {

/// A file of the page, as it is served.
struct PageFile {
  std::string_view path;  ///< with the slash in front
  std::string_view type;
  std::string_view content;
};

/// The files of agent/page, which are part of the executable.
std::span<const PageFile> pageFiles();

/// The file at that path of a request; null when there is none.
const PageFile* findPageFile(std::string_view path);

}  // namespace vesk::agent
