#include "Vintrel/engine/ByteCount.h"

#include <algorithm>
#include <limits>

#include <QLocale>
#include <QString>

namespace Vintrel {

std::string memoryText(int64_t bytes) {
    constexpr int64_t megabyte = int64_t{1} << 20;
    const int digits = bytes < megabyte ? 0 : 1;
    return QLocale()
        .formattedDataSize(std::max<int64_t>(bytes, 0), digits, QLocale::DataSizeTraditionalFormat)
        .toStdString();
}

std::string memoryTextOfKB(int64_t kibibytes) {
    constexpr int64_t kibibyte = 1'024;
    constexpr int64_t most = std::numeric_limits<int64_t>::max() / kibibyte;
    return memoryText(std::clamp<int64_t>(kibibytes, 0, most) * kibibyte);
}

} // namespace Vintrel
