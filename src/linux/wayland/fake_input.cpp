#include "linux/wayland/fake_input.h"

#include <fake-input-client-protocol.h>

namespace tavlo {

FakeInput::FakeInput(WaylandConnection& connection) : m_input(nullptr, org_kde_kwin_fake_input_destroy)
{
    constexpr std::uint32_t kVersion = ORG_KDE_KWIN_FAKE_INPUT_KEYBOARD_KEY_SINCE_VERSION;
    m_input.reset(connection.bind<org_kde_kwin_fake_input>(org_kde_kwin_fake_input_interface, kVersion));
    if (m_input && org_kde_kwin_fake_input_get_version(m_input.get()) < kVersion) {
        m_input.reset();
    }
    if (m_input) {
        org_kde_kwin_fake_input_authenticate(m_input.get(), "Tavlo", "Paste what was dictated");
        connection.flush();
    }
}

void FakeInput::press(std::uint32_t code)
{
    org_kde_kwin_fake_input_keyboard_key(m_input.get(), code, WL_KEYBOARD_KEY_STATE_PRESSED);
}

void FakeInput::release(std::uint32_t code)
{
    org_kde_kwin_fake_input_keyboard_key(m_input.get(), code, WL_KEYBOARD_KEY_STATE_RELEASED);
}

}  // namespace tavlo
