#pragma once

#include <QAbstractNativeEventFilter>

#include <cstdint>
#include <functional>

struct xcb_connection_t;

namespace tavlo {

// Watches whether an X11 tray embeds icons, over the toolkit's own connection. Without an X server there is none. Main
// thread.
class X11TrayOwner : public QAbstractNativeEventFilter {
public:
    explicit X11TrayOwner(std::function<void()> changed);
    ~X11TrayOwner() override;

    bool present() const { return m_owner != 0; }

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    // One round trip to the server.
    void lookUp();

    std::function<void()> m_changed;
    xcb_connection_t* m_connection = nullptr;
    std::uint32_t m_selection = 0;  // atoms
    std::uint32_t m_manager = 0;
    std::uint32_t m_owner = 0;  // window
};

}  // namespace tavlo
