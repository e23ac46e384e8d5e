#pragma once

#include "tests/app/support/AppTest.h"

namespace VintrelTests {

/// A test of widgets.
class ViewTest : public AppTest {
public:
    ViewTest() : AppTest(Face::widgets) {}
};

} // namespace VintrelTests
