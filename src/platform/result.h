#pragma once

#include "platform/text_literals.h"

#include <QString>

#include <tl/expected.hpp>

namespace tavlo {

// An expected failure, as a value. `domain` and `code` tell which one it is, `description` is one sentence for the
// user. The program's own failures use the domain "Tavlo".
struct Error {
    QString domain;
    int code = 0;
    QString description;

    bool operator==(const Error&) const = default;
};

inline const QString kTavloErrorDomain = u"Tavlo"_s;

// The codes of the program's own failures; where an HTTP server or a child process told more, its status is the code.
inline constexpr int kNoMicrophone = 1;
inline constexpr int kNoAudioConverter = 2;
inline constexpr int kEngineMissing = 3;  // the local engine or its model
inline constexpr int kIncompleteDownload = 4;
inline constexpr int kNoCode = 0;  // only the description tells more

// A value or the reason why there is none. A caller that has no use for the reason says so with std::ignore.
template <class T>
class [[nodiscard]] Result : public tl::expected<T, Error> {
public:
    using tl::expected<T, Error>::expected;
};

inline tl::unexpected<Error> failure(int code, const QString& description, const QString& domain = kTavloErrorDomain)
{
    return tl::unexpected<Error>(Error{domain, code, description});
}

}  // namespace tavlo
