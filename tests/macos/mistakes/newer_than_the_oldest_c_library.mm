// refused: 'mkfifoat' is only available on macOS 13.0 or newer
#include <fcntl.h>
#include <sys/stat.h>

int made(const char* path) {
#ifdef MISTAKE
  return ::mkfifoat(AT_FDCWD, path, S_IRUSR);
#else
  return ::mkfifo(path, S_IRUSR);
#endif
}
