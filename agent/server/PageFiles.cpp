#include "agent/server/PageFiles.h"

namespace vesk::agent {

const PageFile* findPageFile(std::string_view path) {
  if (path == "/") path = "/index.html";
  for (const auto& file : pageFiles()) {
    if (file.path == path) return &file;
  }
  return nullptr;
}

}  // namespace vesk::agent
