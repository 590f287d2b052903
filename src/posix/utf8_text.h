#pragma once

#include <QByteArray>
#include <QString>
#include <QStringDecoder>

namespace tavlo {

// The text in `bytes`; empty when they are not UTF-8 throughout.
inline QString utf8Text(const QByteArray& bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(bytes);
    return decoder.hasError() ? QString() : text;
}

}  // namespace tavlo
