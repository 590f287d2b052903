#include "settings/keychain.h"

#include "platform/secret_store.h"
#include "platform/text_literals.h"

#include <QStringDecoder>

namespace tavlo {

const QString Keychain::service = u"nl.pelloquintar.tavlo"_s;

QString keyAccount(const QString& provider)
{
    return provider + u"_api_key"_s;
}

void Keychain::set(const QString& value, const QString& account)
{
    m_store.deleteItems(service, account);
    if (value.isEmpty()) {
        return;
    }
    // Failing to store is silent: whoever must know reads the item back.
    static_cast<void>(m_store.add(service, account, value.toUtf8()));
}

void Keychain::beginGet(const QString& account)
{
    m_store.beginFind(service, account);
}

std::optional<QString> Keychain::get(const QString& account)
{
    const std::optional<QByteArray> data = m_store.find(service, account);
    if (!data) {
        return std::nullopt;
    }
    // Stateless, so that a sequence that breaks off at the end counts as an error; the text is kept as stored.
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
    const QString text = decoder.decode(*data);
    if (decoder.hasError() || text.isEmpty()) {
        return std::nullopt;
    }
    return text;
}

bool Keychain::answeredLastGet() const
{
    return m_store.answeredLastFind();
}

}  // namespace tavlo
