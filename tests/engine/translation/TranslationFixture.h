#pragma once
// Moved to tests/support as SqlTableFixture; kept for the tests that still
// include it here under its old names.
#include "../../support/SqlTableFixture.h"

namespace tessera::engine::test {
using TranslationFixture = tessera::test::SqlTableFixture;
using tessera::test::geo;
using tessera::test::sty;
using tessera::test::TestCache;
using tessera::test::utf8;
using tessera::test::wide;
} // namespace tessera::engine::test
