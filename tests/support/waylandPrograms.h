#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/// Programs as a person has them, on Wayland, and what they write down of what they were given.
namespace vesk::testing {

/// Nothing of a file that is not there.
inline std::string contentsOf(const std::filesystem::path& file) {
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// Qt's entry or another program of Qt's, given a compositor's own entries.
inline std::vector<std::string> environmentForQt(std::vector<std::string> environment) {
  environment.insert(environment.end(), {"QT_QPA_PLATFORM=wayland", "LC_ALL=C.UTF-8"});
  return environment;
}

/// A browser that shows `page` and nothing else; its own files go into `folder`, the page too.
inline std::vector<std::string> browserWith(const std::string& page,
                                            const std::filesystem::path& folder) {
  const std::filesystem::path file = folder / "page.html";
  std::ofstream(file) << "<meta charset=utf-8>" << page;
  return {"chromium",
          "--ozone-platform=wayland",
          "--no-sandbox",
          "--disable-gpu",
          "--no-first-run",
          "--disable-background-networking",
          "--disable-component-update",
          "--disable-sync",
          "--user-data-dir=" + (folder / "profile").string(),
          "--app=file://" + file.string()};
}

}  // namespace vesk::testing
