#pragma once
// Moved to tests/support; kept for the tests outside tests/engine that still
// include it here.
#include "../support/EngineApplication.h"
