// What all tests include; g++ is slower with more than that.
#pragma once

#include <gtest/gtest.h>

#ifdef __clang__
#include "language.h"
#endif
