#include "agent/Console.h"

#include <ostream>
#include <stdexcept>

namespace vesk::agent {

void Console::message(std::string_view line) {
  output_ << line << '\n' << std::flush;
  if (!output_) throw std::runtime_error("cannot write to standard output");
}

void Console::note(std::string_view text) {
  if (notes_ == Notes::shown) error(text);
}

void Console::error(std::string_view text) {
  errors_ << "vesk-agent: " << text << '\n' << std::flush;
}

void Console::page(std::string_view text) { errors_ << text << std::flush; }

}  // namespace vesk::agent
