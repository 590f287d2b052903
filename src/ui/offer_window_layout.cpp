#include "ui/offer_window_layout.h"

#include "settings/language.h"

namespace tavlo {

WindowDescription offerWindowLayout()
{
    const auto name = [](const char* latin) { return QString::fromLatin1(latin); };
    WindowDescription window{QStringLiteral("Offline model"), {460, 250}, {}};
    auto& elements = window.elements;
    elements.push_back({.name = name("icon"),
                        .kind = ElementKind::Icon,
                        .frame = {24, 160, 56, 56},
                        .accessibleName = QStringLiteral("Tavlo")});
    elements.push_back({.name = name("title"),
                        .frame = {96, 194, 340, 22},
                        .text = t(QStringLiteral("Gratis offline dicteren"), QStringLiteral("Free offline dictation")),
                        .pixelSize = 15,
                        .weight = FontWeight::Bold});
    elements.push_back(
        {.name = name("body"),
         .kind = ElementKind::WrappingLabel,
         .frame = {96, 122, 342, 64},
         .text = t(QStringLiteral(
                       "Zonder API-sleutel gebruikt Tavlo een taalmodel dat volledig op je eigen Mac draait — gratis "
                       "en privé. Dit model (± 1,6 GB) wordt eenmalig gedownload; daarna werkt dicteren offline."),
                   QStringLiteral(
                       "Without an API key, Tavlo uses a language model that runs entirely on your own Mac — free and "
                       "private. This model (~1.6 GB) is downloaded once; after that, dictation works offline.")),
         .pixelSize = 12,
         .colour = ColourRole::SecondaryLabel});
    elements.push_back({.name = name("progress"),
                        .kind = ElementKind::ProgressBar,
                        .frame = {24, 86, 412, 16},
                        .visibility = Visibility::Hidden,
                        .accessibleName = t(QStringLiteral("Voortgang"), QStringLiteral("Progress"))});
    elements.push_back(
        {.name = name("status"), .frame = {24, 62, 412, 16}, .pixelSize = 11, .colour = ColourRole::SecondaryLabel});
    elements.push_back({.name = name("declineButton"),
                        .kind = ElementKind::Button,
                        .frame = {202, 18, 112, 30},
                        .text = t(QStringLiteral("Niet nu"), QStringLiteral("Not now"))});
    elements.push_back({.name = name("downloadButton"),
                        .kind = ElementKind::DefaultButton,
                        .frame = {322, 18, 116, 30},
                        .text = QStringLiteral("Download")});
    return window;
}

WindowElement offerFailureElement()
{
    return {.name = QStringLiteral("status"),
            .kind = ElementKind::WrappingLabel,
            .frame = {24, 62, 412, 40},
            .pixelSize = 11,
            .colour = ColourRole::SystemRed};
}

}  // namespace tavlo
