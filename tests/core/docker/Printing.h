#pragma once

#include "VintrelCore/docker/DockerCore.h"

#include <ostream>

// GoogleTest looks for these to say what it has got.
namespace VintrelCore {

inline void PrintTo(const Container& container, std::ostream* out) {
    *out << '{' << container.id << '|' << container.name << '|' << container.image << '|' << container.status
         << '|' << container.ports << '|' << container.composeProject.value_or("(none)") << '}';
}

inline void PrintTo(const ContainerStats& stats, std::ostream* out) {
    *out << '{' << stats.cpu << '|' << stats.memory << '}';
}

} // namespace VintrelCore
