#pragma once
// A Unix socket's address as the Mac has it, and the Mac's own way to have no signal from a socket.
#include <sys/socket.h>

struct sockaddr_un {
  unsigned char sun_len;
  unsigned char sun_family;
  char sun_path[104];
};
static_assert(sizeof(sockaddr_un) == 106);

#define SO_NOSIGPIPE 0x1022
