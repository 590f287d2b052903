#include "ui/windows/about_window.h"

#include "platform/screens.h"
#include "platform/text_literals.h"
#include "platform/workspace.h"
#include "settings/language.h"
#include "settings/locations.h"

#include <QPushButton>
#include <QUrl>

namespace tavlo {

namespace {

const QString kWebsiteButton = u"websiteButton"_s;
const QString kFeedbackButton = u"feedbackButton"_s;

QString featureList()
{
    return t(
        u"•  Dicteren met een sneltoets, overal waar je kunt typen\n"
        "•  Gratis & onbeperkt met lokale Whisper - of je eigen OpenAI/Groq-sleutel\n"
        "•  Muziek dempt automatisch tijdens het opnemen\n"
        "•  Zelf je sneltoets kiezen · Nederlands & Engels\n"
        "•  Privacy eerst: lokaal verwerken kan volledig offline; je sleutel staat veilig in de Sleutelhanger\n"
        "•  Vangnet: mist de cloud een stuk, dan vult lokale Whisper het aan"_s,
        u"•  Dictate with a hotkey, anywhere you can type\n"
        "•  Free & unlimited with local Whisper - or your own OpenAI/Groq key\n"
        "•  Music ducks automatically while recording\n"
        "•  Choose your own hotkey · Dutch & English\n"
        "•  Privacy first: local processing can run fully offline; your key is stored safely in the Keychain\n"
        "•  Safety net: if the cloud drops a chunk, local Whisper fills it in"_s);
}

}  // namespace

WindowDescription aboutWindowLayout(const QString& version)
{
    const QString shown = version.isEmpty() ? u"1.0"_s : version;
    WindowDescription window{t(u"Over Tavlo"_s, u"About Tavlo"_s), {460, 470}, {}};
    auto& elements = window.elements;
    elements.push_back(
        {.name = u"icon"_s, .kind = ElementKind::Icon, .frame = {198, 386, 64, 64}, .accessibleName = u"Tavlo"_s});
    elements.push_back({.name = u"title"_s,
                        .frame = {20, 356, 420, 24},
                        .text = u"Tavlo "_s + shown,
                        .pixelSize = 18,
                        .weight = FontWeight::Semibold,
                        .alignment = TextAlignment::Centre});
    elements.push_back({.name = u"tagline"_s,
                        .frame = {20, 332, 420, 18},
                        .text = t(u"Praat in plaats van typen - in elke app op je Mac."_s,
                                  u"Talk instead of type - in any app on your Mac."_s),
                        .colour = ColourRole::SecondaryLabel,
                        .alignment = TextAlignment::Centre});
    elements.push_back({.name = u"features"_s,
                        .kind = ElementKind::WrappingLabel,
                        .frame = {30, 150, 400, 170},
                        .text = featureList(),
                        .pixelSize = 12});
    elements.push_back(
        {.name = u"disclaimer"_s,
         .kind = ElementKind::WrappingLabel,
         .frame = {30, 106, 400, 34},
         .text =
             t(u"Transcriptie kan fouten bevatten. Controleer belangrijke tekst voordat je erop handelt. "
               "Gebruik op eigen risico."_s,
               u"Transcription may contain errors. Check important text before acting on it. Use at your own risk."_s),
         .pixelSize = 10,
         .colour = ColourRole::TertiaryLabel});
    elements.push_back({.name = u"support"_s,
                        .kind = ElementKind::WrappingLabel,
                        .frame = {30, 60, 400, 40},
                        .text = t(u"Gratis en zonder abonnement, gemaakt door één persoon. Steun je Tavlo met een "
                                  "eenmalige aankoop, dan blijft het zich ontwikkelen - nooit een abonnement."_s,
                                  u"Free and subscription-free, made by one person. Support Tavlo with a one-time "
                                  "purchase and it keeps improving - never a subscription."_s),
                        .pixelSize = 11,
                        .colour = ColourRole::SecondaryLabel});
    elements.push_back(
        {.name = kWebsiteButton, .kind = ElementKind::Button, .frame = {30, 20, 130, 32}, .text = u"Website"_s});
    elements.push_back({.name = kFeedbackButton,
                        .kind = ElementKind::Button,
                        .frame = {165, 20, 130, 32},
                        .text = t(u"Feedback geven"_s, u"Give feedback"_s)});
    elements.push_back({.name = u"maker"_s,
                        .frame = {300, 27, 130, 16},
                        .text = u"Pelloquintar"_s,
                        .pixelSize = 11,
                        .colour = ColourRole::TertiaryLabel,
                        .alignment = TextAlignment::Right});
    return window;
}

AboutWindow::AboutWindow(QString version, Screens& screens, Workspace& workspace)
    : m_version(std::move(version)), m_screens(screens), m_workspace(workspace)
{
}

void AboutWindow::openAbout()
{
    if (m_aboutWindow) {
        m_aboutWindow->hide();
    }
    m_aboutWindow = std::make_unique<WindowFrame>(aboutWindowLayout(m_version));
    auto& website = m_aboutWindow->control<QPushButton>(kWebsiteButton);
    QObject::connect(&website, &QPushButton::clicked, &website, [this] { m_workspace.open(QUrl(kWebsiteURL)); });
    auto& feedback = m_aboutWindow->control<QPushButton>(kFeedbackButton);
    QObject::connect(&feedback, &QPushButton::clicked, &feedback, [this] { m_workspace.open(QUrl(kFeedbackURL)); });
    m_aboutWindow->bringToFront(m_screens.mainVisibleFrame());
}

}  // namespace tavlo
