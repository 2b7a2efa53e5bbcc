#include "e2e/StreamDecoders.h"

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>

#include "e2e/RecordedStream.h"
#include "support/H264Decoder.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

/// Takes access units as {key, data}, the data in base 64. Each picture must come before the next
/// unit goes in, as in a session, where the next one may be long in coming.
constexpr const char* decodeInPage = R"(
const table = new Uint32Array(256).map((_, sum) => {
  for (let bit = 0; bit < 8; bit++) sum = sum & 1 ? 0xedb88320 ^ (sum >>> 1) : sum >>> 1;
  return sum;
});

function pictureSum(bytes) {
  let sum = -1;
  for (let i = 0; i < bytes.length; i++) sum = table[(sum ^ bytes[i]) & 255] ^ (sum >>> 8);
  return ~sum >>> 0;
}

async function sumOf(frame) {
  if (frame.format !== 'I420') throw Error('pictures of ' + frame.format);
  const bytes = new Uint8Array(frame.allocationSize());
  await frame.copyTo(bytes);
  frame.close();
  return pictureSum(bytes);
}

async function seen(codec, units, patience) {
  const pictures = [], frames = [];
  let fault = '', tell = () => {};
  const decoder = new VideoDecoder({
    output: frame => { frames.push(frame); tell(); },
    error: error => { fault = fault || String(error); tell(); },
  });
  try {
    decoder.configure({codec, optimizeForLatency: true});
    for (const [number, {key, data}] of units.entries()) {
      const come = new Promise(resolve => { tell = resolve; });
      const late = setTimeout(() => { fault = 'no picture of unit ' + number; tell(); }, patience);
      decoder.decode(new EncodedVideoChunk({
        type: key ? 'key' : 'delta',
        timestamp: number * 1000,
        data: Uint8Array.from(atob(data), letter => letter.charCodeAt(0)),
      }));
      await come;
      clearTimeout(late);
      if (fault) break;
      for (const frame of frames.splice(0)) {
        if (frame.timestamp !== number * 1000) fault = 'another picture of unit ' + number;
        pictures.push(await sumOf(frame));
      }
    }
    if (!fault) await decoder.flush();
    if (frames.length > 0) fault = 'more pictures than units';
  } catch (error) {
    fault = fault || String(error);
  }
  for (const frame of frames) frame.close();
  if (decoder.state !== 'closed') decoder.close();
  return {pictures, fault};
})";

std::string base64(const std::vector<std::byte>& bytes) {
  constexpr std::string_view letters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    std::uint32_t three = 0;
    for (std::size_t i = at; i < at + 3; ++i) {
      three = three << 8U | (i < bytes.size() ? std::to_integer<std::uint32_t>(bytes[i]) : 0U);
    }
    for (unsigned shift = 18, i = 0; i < 4; shift -= 6, ++i) {
      text += at + i <= bytes.size() ? letters[three >> shift & 63U] : '=';
    }
  }
  return text;
}

/// The name of the stream's profile, its constraints and its level, from its sequence parameter
/// set.
std::string codecOf(const std::vector<std::byte>& keyFrame) {
  constexpr std::size_t profile = 5;
  if (keyFrame.size() < profile + 3) throw std::invalid_argument("no sequence parameter set");
  std::array<char, 16> name{};
  std::snprintf(name.data(), name.size(), "avc1.%02X%02X%02X",
                std::to_integer<unsigned>(keyFrame[profile]),
                std::to_integer<unsigned>(keyFrame[profile + 1]),
                std::to_integer<unsigned>(keyFrame[profile + 2]));
  return name.data();
}

}  // namespace

Seen seenByOpenH264(const AccessUnits& units) {
  H264Decoder decoder;
  Seen seen;
  for (const auto& unit : units) {
    const auto sum = decoder.decodeToSum(unit);
    if (!sum) {
      seen.fault = "no picture of unit " + std::to_string(seen.pictures.size());
      break;
    }
    seen.pictures.push_back(*sum);
  }
  return seen;
}

Seen seenByFfmpeg(const AccessUnits& units) {
  std::vector<std::byte> stream;
  for (const auto& unit : units) stream.insert(stream.end(), unit.begin(), unit.end());
  auto result = sumsByFfmpeg(stream);
  return {std::move(result.sums), std::move(result.messages)};
}

Seen seenByBrowser(Browser& browser, const AccessUnits& units) {
  auto chunks = nlohmann::json::array();
  for (const auto& unit : units) {
    chunks.push_back({{"key", RecordedStream::isKeyFrame(unit)}, {"data", base64(unit)}});
  }
  const auto result = browser.evaluate("(() => {" + std::string(decodeInPage) + "\nreturn seen('" +
                                       codecOf(units.front()) + "', " + chunks.dump() + ", " +
                                       std::to_string(patience() / 2) + "); })()");
  return {result["pictures"].get<std::vector<std::uint32_t>>(), result["fault"]};
}

}  // namespace vesk::testing
