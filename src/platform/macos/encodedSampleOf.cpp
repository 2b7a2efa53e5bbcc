#include "platform/macos/encodedSampleOf.h"

#include "platform/macos/attachment.h"

namespace vesk::mac {
namespace {

using Bytes = std::vector<std::byte>;

/// Nothing without data, and when it cannot be read.
std::optional<Bytes> dataOf(CMSampleBufferRef _Nonnull sample) {
  auto* const buffer = CMSampleBufferGetDataBuffer(sample);
  if (buffer == nullptr) return std::nullopt;
  Bytes data(CMBlockBufferGetDataLength(buffer));
  // The system calls it an error to copy nothing.
  if (data.empty()) return data;
  if (CMBlockBufferCopyDataBytes(buffer, 0, data.size(), data.data()) != 0) return std::nullopt;
  return data;
}

std::optional<bool> notSyncOf(CMSampleBufferRef _Nonnull sample) {
  const CFTypeRef value = attachment(sample, kCMSampleAttachmentKey_NotSync);
  if (value == nullptr || CFGetTypeID(value) != CFBooleanGetTypeID()) return std::nullopt;
  return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
}

std::optional<Bytes> parameterSet(CMFormatDescriptionRef _Nonnull format, std::size_t index) {
  const std::uint8_t* bytes = nullptr;
  std::size_t size = 0;
  const OSStatus status = CMVideoFormatDescriptionGetH264ParameterSetAtIndex(
      format, index, &bytes, &size, nullptr, nullptr);
  if (status != 0 || bytes == nullptr) return std::nullopt;
  const auto* const first = reinterpret_cast<const std::byte*>(bytes);
  return Bytes(first, first + size);
}

/// A set that cannot be read is left out.
std::optional<std::vector<Bytes>> parameterSetsOf(CMSampleBufferRef _Nonnull sample) {
  const CMFormatDescriptionRef format = CMSampleBufferGetFormatDescription(sample);
  if (format == nullptr) return std::nullopt;
  std::size_t count = 0;
  CMVideoFormatDescriptionGetH264ParameterSetAtIndex(format, 0, nullptr, nullptr, &count, nullptr);
  std::vector<Bytes> sets;
  for (std::size_t index = 0; index < count; ++index) {
    if (auto set = parameterSet(format, index)) sets.push_back(*std::move(set));
  }
  return sets;
}

}  // namespace

std::optional<EncodedSample> encodedSampleOf(CMSampleBufferRef _Nullable frame) {
  if (frame == nullptr) return std::nullopt;
  const auto sample = static_cast<CMSampleBufferRef _Nonnull>(frame);
  return EncodedSample{dataOf(sample), notSyncOf(sample), parameterSetsOf(sample)};
}

}  // namespace vesk::mac
