#include "ui/settings_window_layout.h"

#include "settings/language.h"

namespace tavlo {

namespace {

WindowElement label(const QString& name, const QRect& frame, const QString& text, const QString& labelled)
{
    return {.name = name, .frame = frame, .text = text, .labelled = labelled};
}

WindowElement control(const QString& name, ElementKind kind, const QRect& frame)
{
    return {.name = name, .kind = kind, .frame = frame};
}

}  // namespace

WindowDescription settingsWindowLayout()
{
    const auto name = [](const char* latin) { return QString::fromLatin1(latin); };
    WindowDescription window{t(QStringLiteral("Tavlo-instellingen"), QStringLiteral("Tavlo Settings")), {480, 506}, {}};
    auto& elements = window.elements;

    elements.push_back(label(name("langLabel"), {20, 472, 150, 17},
                             t(QStringLiteral("Taal / Language:"), QStringLiteral("Language / Taal:")),
                             name("langPopup")));
    elements.push_back(control(name("langPopup"), ElementKind::PopUp, {180, 466, 280, 26}));

    elements.push_back(
        label(name("providerLabel"), {20, 438, 150, 17}, QStringLiteral("Provider:"), name("providerPopup")));
    elements.push_back(control(name("providerPopup"), ElementKind::PopUp, {180, 432, 280, 26}));

    elements.push_back(label(name("apiLabel"), {20, 400, 300, 17},
                             t(QStringLiteral("API-sleutel (leeg = alleen gratis lokale Whisper):"),
                               QStringLiteral("API key (empty = free local Whisper only):")),
                             name("apiField")));
    elements.push_back({.name = name("keyPageButton"),
                        .kind = ElementKind::SmallButton,
                        .frame = {330, 396, 130, 24},
                        .text = t(QStringLiteral("Sleutel aanmaken ↗"), QStringLiteral("Create key ↗")),
                        .pixelSize = 11});
    elements.push_back(control(name("apiField"), ElementKind::TextField, {20, 368, 440, 24}));

    elements.push_back(label(name("modelLabel"), {20, 334, 150, 17}, QStringLiteral("Model:"), name("modelPopup")));
    elements.push_back(control(name("modelPopup"), ElementKind::PopUp, {180, 328, 280, 26}));
    elements.push_back({.name = name("costLabel"),
                        .kind = ElementKind::WrappingLabel,
                        .frame = {20, 294, 448, 28},
                        .pixelSize = 11,
                        .colour = ColourRole::SecondaryLabel});

    elements.push_back(label(name("engineLabel"), {20, 276, 150, 17}, QStringLiteral("Engine:"), name("enginePopup")));
    elements.push_back(control(name("enginePopup"), ElementKind::PopUp, {180, 270, 280, 26}));

    elements.push_back(label(name("vocabLabel"), {20, 242, 440, 17},
                             t(QStringLiteral("Woordenlijst - jargon en namen voor betere herkenning:"),
                               QStringLiteral("Vocabulary - jargon and names for better recognition:")),
                             name("vocabView")));
    elements.push_back(control(name("vocabView"), ElementKind::TextView, {20, 154, 440, 84}));

    elements.push_back(
        {.name = name("duckCheck"),
         .kind = ElementKind::CheckBox,
         .frame = {20, 120, 440, 18},
         .text = t(QStringLiteral("Muziek dempen tijdens opname"), QStringLiteral("Duck music while recording"))});
    elements.push_back(label(name("duckLabel"), {20, 88, 150, 17},
                             t(QStringLiteral("Restvolume muziek:"), QStringLiteral("Remaining music volume:")),
                             name("duckSlider")));
    elements.push_back(control(name("duckSlider"), ElementKind::Slider, {180, 86, 230, 20}));
    elements.push_back(control(name("duckPct"), ElementKind::Label, {420, 88, 45, 17}));

    elements.push_back({.name = name("cancelButton"),
                        .kind = ElementKind::Button,
                        .frame = {250, 20, 100, 32},
                        .text = t(QStringLiteral("Annuleer"), QStringLiteral("Cancel"))});
    elements.push_back({.name = name("saveButton"),
                        .kind = ElementKind::DefaultButton,
                        .frame = {360, 20, 100, 32},
                        .text = t(QStringLiteral("Bewaar"), QStringLiteral("Save"))});
    return window;
}

}  // namespace tavlo
