#include "linux/wayland/wayland_pasteboard.h"

#include "linux/wayland/pipe_writer.h"

#include <array>
#include <vector>

#include <ext-data-control-v1-client-protocol.h>
#include <wlr-data-control-unstable-v1-client-protocol.h>

namespace tavlo {

namespace {

// By what names programs ask for text. The X11 ones are for programs that stand behind Xwayland.
constexpr std::array kTextTypes{"text/plain;charset=utf-8", "text/plain", "UTF8_STRING", "STRING", "TEXT"};

// The two protocols are one with different names.
struct Ext {
    using Manager = ext_data_control_manager_v1;
    using Device = ext_data_control_device_v1;
    using Source = ext_data_control_source_v1;
    using Offer = ext_data_control_offer_v1;
    using DeviceListener = ext_data_control_device_v1_listener;
    using SourceListener = ext_data_control_source_v1_listener;
    static constexpr const wl_interface& kManager = ext_data_control_manager_v1_interface;
    static constexpr std::uint32_t kVersion = 1;
    static constexpr auto createSource = ext_data_control_manager_v1_create_data_source;
    static constexpr auto getDevice = ext_data_control_manager_v1_get_data_device;
    static constexpr auto destroyManager = ext_data_control_manager_v1_destroy;
    static constexpr auto destroyDevice = ext_data_control_device_v1_destroy;
    static constexpr auto destroySource = ext_data_control_source_v1_destroy;
    static constexpr auto destroyOffer = ext_data_control_offer_v1_destroy;
    static constexpr auto addDeviceListener = ext_data_control_device_v1_add_listener;
    static constexpr auto addSourceListener = ext_data_control_source_v1_add_listener;
    static constexpr auto offer = ext_data_control_source_v1_offer;
    static constexpr auto setSelection = ext_data_control_device_v1_set_selection;
    static constexpr auto setPrimary = ext_data_control_device_v1_set_primary_selection;
    static bool hasPrimary(Device*) { return true; }
};

struct Wlr {
    using Manager = zwlr_data_control_manager_v1;
    using Device = zwlr_data_control_device_v1;
    using Source = zwlr_data_control_source_v1;
    using Offer = zwlr_data_control_offer_v1;
    using DeviceListener = zwlr_data_control_device_v1_listener;
    using SourceListener = zwlr_data_control_source_v1_listener;
    static constexpr const wl_interface& kManager = zwlr_data_control_manager_v1_interface;
    static constexpr std::uint32_t kVersion = 2;
    static constexpr auto createSource = zwlr_data_control_manager_v1_create_data_source;
    static constexpr auto getDevice = zwlr_data_control_manager_v1_get_data_device;
    static constexpr auto destroyManager = zwlr_data_control_manager_v1_destroy;
    static constexpr auto destroyDevice = zwlr_data_control_device_v1_destroy;
    static constexpr auto destroySource = zwlr_data_control_source_v1_destroy;
    static constexpr auto destroyOffer = zwlr_data_control_offer_v1_destroy;
    static constexpr auto addDeviceListener = zwlr_data_control_device_v1_add_listener;
    static constexpr auto addSourceListener = zwlr_data_control_source_v1_add_listener;
    static constexpr auto offer = zwlr_data_control_source_v1_offer;
    static constexpr auto setSelection = zwlr_data_control_device_v1_set_selection;
    static constexpr auto setPrimary = zwlr_data_control_device_v1_set_primary_selection;
    static bool hasPrimary(Device* device)
    {
        return zwlr_data_control_device_v1_get_version(device) >=
               ZWLR_DATA_CONTROL_DEVICE_V1_SET_PRIMARY_SELECTION_SINCE_VERSION;
    }
};

}  // namespace

class WaylandPasteboard::Control {
public:
    virtual ~Control() = default;

    virtual void setSelection(const QByteArray& text) = 0;
    virtual void setPrimary(const QByteArray& text) = 0;
};

template <class Protocol>
class WaylandPasteboard::ControlBy : public Control {
public:
    explicit ControlBy(WaylandConnection& connection)
        : m_manager(connection.bind<typename Protocol::Manager>(Protocol::kManager, Protocol::kVersion),
                    Protocol::destroyManager),
          m_device(Protocol::getDevice(m_manager.get(), connection.seat()), Protocol::destroyDevice)
    {
        // What others copy is of no interest, but it is told as long as there is a device; and one that was given back
        // could still be told of an object that nobody would receive, which ends the connection.
        static constexpr typename Protocol::DeviceListener kListener{
            .data_offer =
                [](void* self, Device*, Offer* offer) {
                    static_cast<ControlBy*>(self)->m_announced.emplace_back(offer, Protocol::destroyOffer);
                },
            .selection = giveBack,
            .finished = [](void*, Device*) {},
            .primary_selection = giveBack};
        Protocol::addDeviceListener(m_device.get(), &kListener, this);
    }

    void setSelection(const QByteArray& text) override
    {
        auto offered = offer(text);
        Protocol::setSelection(m_device.get(), offered->source.get());
        m_selection = std::move(offered);
    }

    void setPrimary(const QByteArray& text) override
    {
        if (Protocol::hasPrimary(m_device.get())) {
            auto offered = offer(text);
            Protocol::setPrimary(m_device.get(), offered->source.get());
            m_primary = std::move(offered);
        }
    }

private:
    using Device = typename Protocol::Device;
    using Offer = typename Protocol::Offer;
    using Source = typename Protocol::Source;

    // What stands on one of the selections, with the text that it hands out.
    struct Offered {
        ControlBy* control = nullptr;
        QByteArray text;
        WaylandPointer<Source> source;
    };

    // An offer is announced, then named as the content of a selection. It is given back only then: of one that is gone
    // before the event that names it is handed out, libwayland keeps the memory for ever.
    static void giveBack(void* self, Device*, Offer* offer)
    {
        std::erase_if(static_cast<ControlBy*>(self)->m_announced,
                      [offer](const auto& announced) { return announced.get() == offer; });
    }

    std::unique_ptr<Offered> offer(const QByteArray& text)
    {
        static constexpr typename Protocol::SourceListener kListener{
            .send =
                [](void* offered, Source*, const char*, int descriptor) {
                    const auto* const self = static_cast<Offered*>(offered);
                    new PipeWriter(descriptor, self->text, &self->control->m_writers);
                },
            .cancelled = [](void* offered, Source*) { static_cast<Offered*>(offered)->source.reset(); }};
        auto offered = std::make_unique<Offered>(
            Offered{this, text, {Protocol::createSource(m_manager.get()), Protocol::destroySource}});
        Protocol::addSourceListener(offered->source.get(), &kListener, offered.get());
        for (const char* const type : kTextTypes) {
            Protocol::offer(offered->source.get(), type);
        }
        return offered;
    }

    WaylandPointer<typename Protocol::Manager> m_manager;
    WaylandPointer<Device> m_device;
    std::vector<WaylandPointer<Offer>> m_announced;
    QObject m_writers;  // owns the transfers that run
    std::unique_ptr<Offered> m_selection;
    std::unique_ptr<Offered> m_primary;
};

WaylandPasteboard::WaylandPasteboard(WaylandConnection& connection) : m_connection(connection)
{
    if (connection.seat() == nullptr) {
        return;
    }
    if (connection.offers(Ext::kManager)) {
        m_control = std::make_unique<ControlBy<Ext>>(connection);
    } else if (connection.offers(Wlr::kManager)) {
        m_control = std::make_unique<ControlBy<Wlr>>(connection);
    }
}

WaylandPasteboard::~WaylandPasteboard() = default;

bool WaylandPasteboard::isOfferedBy(const WaylandConnection& connection)
{
    return connection.seat() != nullptr && (connection.offers(Ext::kManager) || connection.offers(Wlr::kManager));
}

void WaylandPasteboard::setText(const QString& text)
{
    m_text = text;
    if (m_control && m_connection.isConnected()) {
        m_control->setSelection(text.toUtf8());
        m_connection.flush();
    }
}

void WaylandPasteboard::offerPrimarySelection()
{
    if (m_control && m_connection.isConnected()) {
        m_control->setPrimary(m_text.toUtf8());
        m_connection.flush();
    }
}

}  // namespace tavlo
