#pragma once
// The C library's own file knows 64 bits only from the names of its own architectures.
#define __WORDSIZE 64
#define __WORDSIZE_TIME64_COMPAT32 1
#define __SYSCALL_WORDSIZE 64
