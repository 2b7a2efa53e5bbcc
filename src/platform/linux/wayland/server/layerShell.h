#pragma once

#include <xdg-shell.h>

// The protocol has an argument of a name that is a keyword here.
#define namespace layerNamespace
#include <wlr-layer-shell-unstable-v1.h>
#undef namespace
