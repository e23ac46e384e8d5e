#include "Vintrel/shell/SmallFigures.h"

#include <array>
#include <string_view>

namespace Vintrel::SmallFigures {

namespace {

// Line by line.
constexpr auto drawings = std::to_array<std::string_view>({" ### "
                                                           "## ##"
                                                           "## ##"
                                                           "## ##"
                                                           "## ##"
                                                           "## ##"
                                                           " ### ",

                                                           "  ## "
                                                           " ### "
                                                           "  ## "
                                                           "  ## "
                                                           "  ## "
                                                           "  ## "
                                                           " ####",

                                                           " ### "
                                                           "## ##"
                                                           "   ##"
                                                           "  ## "
                                                           " ##  "
                                                           "##   "
                                                           "#####",

                                                           "#### "
                                                           "   ##"
                                                           "   ##"
                                                           " ### "
                                                           "   ##"
                                                           "   ##"
                                                           "#### ",

                                                           "   ##"
                                                           "  ###"
                                                           " # ##"
                                                           "#  ##"
                                                           "#####"
                                                           "   ##"
                                                           "   ##",

                                                           "#####"
                                                           "##   "
                                                           "#### "
                                                           "   ##"
                                                           "   ##"
                                                           "## ##"
                                                           " ### ",

                                                           " ### "
                                                           "##   "
                                                           "#### "
                                                           "## ##"
                                                           "## ##"
                                                           "## ##"
                                                           " ### ",

                                                           "#####"
                                                           "   ##"
                                                           "   ##"
                                                           "  ## "
                                                           "  ## "
                                                           " ##  "
                                                           " ##  ",

                                                           " ### "
                                                           "## ##"
                                                           "## ##"
                                                           " ### "
                                                           "## ##"
                                                           "## ##"
                                                           " ### ",

                                                           " ### "
                                                           "## ##"
                                                           "## ##"
                                                           "## ##"
                                                           " ####"
                                                           "   ##"
                                                           " ### "});

} // namespace

QPainterPath path(int figure) {
    const std::string_view drawing = drawings.at(static_cast<size_t>(figure));
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            if (drawing[static_cast<size_t>(y) * width + static_cast<size_t>(x)] == '#') {
                path.addRect(x, y, 1, 1);
            }
        }
    }
    return path;
}

} // namespace Vintrel::SmallFigures
