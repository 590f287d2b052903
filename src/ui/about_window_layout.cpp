#include "ui/about_window_layout.h"

#include "settings/language.h"

namespace tavlo {

namespace {

QString featureList()
{
    return t(
        QStringLiteral(
            "•  Dicteren met een sneltoets, overal waar je kunt typen\n"
            "•  Gratis & onbeperkt met lokale Whisper - of je eigen OpenAI/Groq-sleutel\n"
            "•  Muziek dempt automatisch tijdens het opnemen\n"
            "•  Zelf je sneltoets kiezen · Nederlands & Engels\n"
            "•  Privacy eerst: lokaal verwerken kan volledig offline; je sleutel staat veilig in de Sleutelhanger\n"
            "•  Vangnet: mist de cloud een stuk, dan vult lokale Whisper het aan"),
        QStringLiteral(
            "•  Dictate with a hotkey, anywhere you can type\n"
            "•  Free & unlimited with local Whisper - or your own OpenAI/Groq key\n"
            "•  Music ducks automatically while recording\n"
            "•  Choose your own hotkey · Dutch & English\n"
            "•  Privacy first: local processing can run fully offline; your key is stored safely in the Keychain\n"
            "•  Safety net: if the cloud drops a chunk, local Whisper fills it in"));
}

}  // namespace

WindowDescription aboutWindowLayout(const QString& version)
{
    const auto name = [](const char* latin) { return QString::fromLatin1(latin); };
    const QString shown = version.isEmpty() ? QStringLiteral("1.0") : version;
    WindowDescription window{t(QStringLiteral("Over Tavlo"), QStringLiteral("About Tavlo")), {460, 470}, {}};
    auto& elements = window.elements;
    elements.push_back({.name = name("icon"),
                        .kind = ElementKind::Icon,
                        .frame = {198, 386, 64, 64},
                        .accessibleName = QStringLiteral("Tavlo")});
    elements.push_back({.name = name("title"),
                        .frame = {20, 356, 420, 24},
                        .text = QStringLiteral("Tavlo ") + shown,
                        .pixelSize = 18,
                        .weight = FontWeight::Semibold,
                        .alignment = TextAlignment::Centre});
    elements.push_back({.name = name("tagline"),
                        .frame = {20, 332, 420, 18},
                        .text = t(QStringLiteral("Praat in plaats van typen - in elke app op je Mac."),
                                  QStringLiteral("Talk instead of type - in any app on your Mac.")),
                        .colour = ColourRole::SecondaryLabel,
                        .alignment = TextAlignment::Centre});
    elements.push_back({.name = name("features"),
                        .kind = ElementKind::WrappingLabel,
                        .frame = {30, 150, 400, 170},
                        .text = featureList(),
                        .pixelSize = 12});
    elements.push_back(
        {.name = name("disclaimer"),
         .kind = ElementKind::WrappingLabel,
         .frame = {30, 106, 400, 34},
         .text = t(
             QStringLiteral("Transcriptie kan fouten bevatten. Controleer belangrijke tekst voordat je erop handelt. "
                            "Gebruik op eigen risico."),
             QStringLiteral(
                 "Transcription may contain errors. Check important text before acting on it. Use at your own risk.")),
         .pixelSize = 10,
         .colour = ColourRole::TertiaryLabel});
    elements.push_back(
        {.name = name("support"),
         .kind = ElementKind::WrappingLabel,
         .frame = {30, 60, 400, 40},
         .text = t(QStringLiteral("Gratis en zonder abonnement, gemaakt door één persoon. Steun je Tavlo met een "
                                  "eenmalige aankoop, dan blijft het zich ontwikkelen - nooit een abonnement."),
                   QStringLiteral("Free and subscription-free, made by one person. Support Tavlo with a one-time "
                                  "purchase and it keeps improving - never a subscription.")),
         .pixelSize = 11,
         .colour = ColourRole::SecondaryLabel});
    elements.push_back({.name = name("websiteButton"),
                        .kind = ElementKind::Button,
                        .frame = {30, 20, 130, 32},
                        .text = QStringLiteral("Website")});
    elements.push_back({.name = name("feedbackButton"),
                        .kind = ElementKind::Button,
                        .frame = {165, 20, 130, 32},
                        .text = t(QStringLiteral("Feedback geven"), QStringLiteral("Give feedback"))});
    elements.push_back({.name = name("maker"),
                        .frame = {300, 27, 130, 16},
                        .text = QStringLiteral("Pelloquintar"),
                        .pixelSize = 11,
                        .colour = ColourRole::TertiaryLabel,
                        .alignment = TextAlignment::Right});
    return window;
}

}  // namespace tavlo
