// refused: 'to_chars' is unavailable
#include <charconv>

char* written(char* first, char* last) {
#ifdef MISTAKE
  return std::to_chars(first, last, 1.5).ptr;
#else
  return std::to_chars(first, last, 15).ptr;
#endif
}
