#pragma once

#include <QLocale>
#include <QString>

namespace tavlo {

// An amount of data as the user reads it, in decimal units: whole kB, MB with one digit, GB with two.
QString byteCountText(qint64 bytes, const QLocale& locale);

// "312,5 MB / 1,62 GB  (19%)". An expected amount below 1 is unknown and takes the model's usual size. The percentage
// is cut, so that only a complete download shows 100.
QString downloadProgressText(double fraction, qint64 written, qint64 expected, const QLocale& locale);

// The failure of a download in the interface language; the description stays as it is.
QString downloadFailureText(const QString& description);

}  // namespace tavlo
