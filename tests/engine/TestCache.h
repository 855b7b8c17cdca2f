#pragma once
// Moved to tests/support; kept for the tests that still include it here.
#include "../support/EngineTestCache.h"
