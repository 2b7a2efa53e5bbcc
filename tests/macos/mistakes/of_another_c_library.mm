// refused: no member named 'mkdtemp' in the global namespace
#ifdef MISTAKE
#include <stdlib.h>
#else
#include <unistd.h>
#endif

char* made(char* path) { return ::mkdtemp(path); }
