#pragma once

namespace vesk::picture::composed {

/// Whether an encoder refers to what is written to its reconstruction, which its library does not
/// promise: a picture of what was written must take no bits. Opens an encoder for it, and takes
/// some milliseconds. Thread: any.
bool reconstructionIsReference();

}  // namespace vesk::picture::composed
