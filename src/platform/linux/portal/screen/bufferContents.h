#pragma once

#include <spa/buffer/buffer.h>

#include <optional>
#include <vector>

#include "platform/linux/portal/screen/PointerNews.h"
#include "platform/linux/portal/screen/RemotePicture.h"

namespace vesk::portal::screen {

/// The picture in a buffer, if there is one: a buffer may also come because only the pointer has
/// moved. It lies within the buffer's memory, whatever the other side has written there.
std::optional<RemotePicture> pictureIn(const spa_buffer& buffer, const PictureLayout& layout);

/// What a buffer tells of the pointer, if anything.
std::optional<PointerNews> pointerIn(const spa_buffer& buffer);

}  // namespace vesk::portal::screen
