#include "settings/app_log.h"

#include "platform/text_literals.h"

#include <array>
#include <charconv>

namespace tavlo {

QString shortestDecimal(float value)
{
    std::array<char, 64> buffer{};  // the longest float in fixed notation has 48 characters
    const auto [end, error] =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed);
    const auto length = error == std::errc() ? end - buffer.data() : 0;
    QString text = QString::fromLatin1(buffer.data(), static_cast<qsizetype>(length));
    if (!text.contains(QLatin1Char('.'))) {
        text += u".0"_s;
    }
    return text;
}

}  // namespace tavlo
