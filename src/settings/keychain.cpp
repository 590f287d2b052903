#include "settings/keychain.h"

#include "platform/secret_store.h"
#include "platform/text_literals.h"
#include "posix/utf8_text.h"

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
    const QString text = utf8Text(*data, ByteOrderMark::Keep);
    if (text.isEmpty()) {
        return std::nullopt;
    }
    return text;
}

bool Keychain::answeredLastGet() const
{
    return m_store.answeredLastFind();
}

}  // namespace tavlo
