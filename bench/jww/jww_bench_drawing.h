#pragma once
// The drawing of the JWW benchmarks: every record kind in the proportions of a real plan.

#include <cstddef>

#include "express/jww/jww_document.h"

// About 100 MB when written for 1.4 million records.
JwwDocument MakeBenchDrawing(std::size_t records);
