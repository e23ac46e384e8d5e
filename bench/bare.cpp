// The least that a program of this family can do: it loads the libraries that vintrel loads, reads the
// settings and ends. What vintrel costs beyond this is its own.
#include "Vintrel/engine/Preferences.h"

#include <cstdlib>

int main() {
    const auto loaded = Vintrel::Preferences::load();
    return loaded.values.elapsedThreshold > 0 && !loaded.problem ? EXIT_SUCCESS : EXIT_FAILURE;
}
