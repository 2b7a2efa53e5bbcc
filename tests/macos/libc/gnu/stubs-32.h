#pragma once
// Every function of the C library is there.
