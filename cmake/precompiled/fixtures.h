// What the tests of the core include besides; where they are only checked, most of the work is
// there.
#pragma once

#include <gtest/gtest.h>

#include "language.h"
#include "support/CapturerFixture.h"
#include "support/InjectorFixture.h"
#include "support/LinkFixture.h"
#include "support/SessionFixture.h"
