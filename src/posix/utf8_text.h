#pragma once

#include <QByteArray>
#include <QString>
#include <QStringDecoder>

namespace tavlo {

enum class ByteOrderMark { Drop, Keep };

// The text in `bytes`; empty when they are not UTF-8 throughout, a sequence that breaks off at the end included.
inline QString utf8Text(const QByteArray& bytes, ByteOrderMark initial = ByteOrderMark::Drop)
{
    QStringDecoder::Flags flags = QStringDecoder::Flag::Stateless;
    flags.setFlag(QStringDecoder::Flag::ConvertInitialBom, initial == ByteOrderMark::Keep);
    QStringDecoder decoder(QStringDecoder::Utf8, flags);
    const QString text = decoder.decode(bytes);
    return decoder.hasError() ? QString() : text;
}

}  // namespace tavlo
