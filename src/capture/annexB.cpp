#include "capture/annexB.h"

#include <array>

namespace vesk {
namespace {

constexpr std::array startCode{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}};
constexpr std::size_t lengthSize = 4;

void appendUnit(Bytes& output, ByteView unit) {
  output.insert(output.end(), startCode.begin(), startCode.end());
  output.insert(output.end(), unit.begin(), unit.end());
}

std::size_t unitLength(ByteView data) {
  std::uint32_t length = 0;
  for (const std::byte byte : data.first(lengthSize)) {
    length = length << 8 | std::to_integer<std::uint32_t>(byte);
  }
  return length;
}

void appendParameterSets(Bytes& output, const EncodedSample& sample) {
  if (sample.notSync.value_or(false) || !sample.parameterSets) return;
  for (const auto& set : *sample.parameterSets) appendUnit(output, set);
}

std::size_t parameterSetsSize(const EncodedSample& sample) {
  std::size_t size = 0;
  if (!sample.parameterSets) return size;
  for (const auto& set : *sample.parameterSets) size += startCode.size() + set.size();
  return size;
}

}  // namespace

std::optional<Bytes> annexB(const EncodedSample& sample) {
  if (!sample.data || sample.data->empty()) return std::nullopt;
  Bytes output;
  // Start codes are as long as the lengths they replace.
  output.reserve(parameterSetsSize(sample) + sample.data->size());
  appendParameterSets(output, sample);

  ByteView rest = *sample.data;
  while (rest.size() >= lengthSize) {
    const std::size_t length = unitLength(rest);
    rest = rest.subspan(lengthSize);
    if (length == 0 || length > rest.size()) break;
    appendUnit(output, rest.first(length));
    rest = rest.subspan(length);
  }
  if (output.empty()) return std::nullopt;
  return output;
}

}  // namespace vesk
