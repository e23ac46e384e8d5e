// Another program that reads the settings, as the command line does: with nothing in its memory.
#include "Vintrel/engine/Preferences.h"
#include "tests/app/preferences/Description.h"

#include <iostream>

int main() {
    const auto [values, problem] = Vintrel::Preferences::load();
    std::cout << (problem ? "problem: " + *problem : VintrelTests::descriptionOf(values));
    return 0;
}
