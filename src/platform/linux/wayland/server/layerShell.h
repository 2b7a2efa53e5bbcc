#pragma once

#include <xdg-shell.h>

// The protocol has an argument of a name that is a keyword here.
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define namespace layerNamespace
#ifdef __clang__
#pragma clang diagnostic pop
#endif
#include <wlr-layer-shell-unstable-v1.h>
#undef namespace
