#pragma once

#include "VintrelCore/context/AncestryResolver.h"
#include "VintrelCore/context/OpenFilesResolver.h"

#include <ostream>

#include <gtest/gtest.h>

// GoogleTest looks for these to say what it has got.
namespace VintrelCore {

inline void PrintTo(const OpenFile& file, std::ostream* out) {
    *out << (file.isSocket ? "socket " : "file ") << file.name;
}

inline void PrintTo(const OpenFileList& list, std::ostream* out) {
    *out << testing::PrintToString(list.files) << " and " << list.overflow << " more";
}

inline void PrintTo(const ProcessNode& node, std::ostream* out) {
    *out << '(' << node.ppid << ", " << node.label << ')';
}

namespace AncestryResolver {

inline void PrintTo(const Entry& entry, std::ostream* out) {
    *out << entry.pid << " -> " << testing::PrintToString(entry.node);
}

} // namespace AncestryResolver
} // namespace VintrelCore
