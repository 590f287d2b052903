// Every text of every window against its frame, in both languages and in the fonts that desktops come with. The
// program runs once for each scale of the screen (QT_SCALE_FACTOR).

#include "platform/text_literals.h"
#include "settings/config.h"
#include "settings/keychain.h"
#include "support/fakes/fake_model_download.h"
#include "support/fakes/fake_screens.h"
#include "support/fakes/fake_secret_store.h"
#include "support/fakes/fake_workspace.h"
#include "support/fakes/manual_main_queue.h"
#include "support/fakes/memory_log.h"
#include "ui/windows/about_window.h"
#include "ui/windows/offer_window.h"
#include "ui/windows/settings_window.h"
#include "ui/windows/window_controls.h"
#include "window_test_support.h"

#include <QAbstractItemView>
#include <QFontInfo>
#include <QPushButton>
#include <QTemporaryDir>

using namespace tavlo;
using namespace tavlo::test;

namespace {

constexpr int kSmallest = 11;

class WindowFit : public testing::TestWithParam<std::tuple<std::string, std::string>> {
protected:
    WindowFit() : m_language(QString::fromStdString(std::get<1>(GetParam()))), m_fontBefore(QApplication::font())
    {
        m_family = QString::fromStdString(std::get<0>(GetParam()));
        QApplication::setFont(QFont(m_family, 10));
    }
    ~WindowFit() override
    {
        QApplication::setFont(m_fontBefore);
        destroyWhatWaits();
    }

    void expectEverythingFits(const WindowFrame& window)
    {
        int measured = 0;
        for (const WindowElement& element : window.description().elements) {
            QWidget* control = window.widget(element.name);
            auto* label = dynamic_cast<FittedLabel*>(control);
            const TextStyle style = label ? label->style() : TextStyle{control->font()};
            for (const TextRequest& request : textsOf(control, element)) {
                const QSizeF needed = TextBlock(request.text, style, request.wrapping, request.room.width()).size();
                EXPECT_LE(needed.width(), request.room.width()) << request.text.toStdString();
                EXPECT_LE(needed.height(), request.room.height()) << request.text.toStdString();
                EXPECT_GE(style.font.pixelSize(), std::min(element.pixelSize, kSmallest)) << request.text.toStdString();
                EXPECT_EQ(style.font.family(), m_family);
                ++measured;
            }
        }
        EXPECT_GT(measured, 0);
    }

    // What a control covers: a label its lines, any other control its frame.
    static std::vector<QRectF> covered(QWidget* control)
    {
        auto* label = dynamic_cast<FittedLabel*>(control);
        if (!label) {
            return {QRectF(control->geometry())};
        }
        const TextRequest request = label->request();
        std::vector<QRectF> lines =
            TextBlock(request.text, label->style(), request.wrapping, request.room.width()).lineFrames();
        if (request.wrapping == Wrapping::SingleLine) {
            lines = {QRectF(label->rect())};  // wherever in it the line is aligned
        }
        for (QRectF& line : lines) {
            line.translate(label->pos());
        }
        return lines;
    }

    static bool overlap(QWidget* first, QWidget* second)
    {
        for (const QRectF& one : covered(first)) {
            for (const QRectF& other : covered(second)) {
                if (one.intersects(other)) {
                    return true;
                }
            }
        }
        return false;
    }

    void expectNothingOverlaps(const WindowFrame& window)
    {
        const auto& elements = window.description().elements;
        for (std::size_t one = 0; one < elements.size(); ++one) {
            for (std::size_t other = one + 1; other < elements.size(); ++other) {
                QWidget* first = window.widget(elements[one].name);
                QWidget* second = window.widget(elements[other].name);
                if (first->isVisible() && second->isVisible()) {
                    EXPECT_FALSE(overlap(first, second))
                        << elements[one].name.toStdString() << " and " << elements[other].name.toStdString();
                }
            }
        }
    }

    void expectEntriesFit(QComboBox& popUp)
    {
        popUp.showPopup();
        EXPECT_LE(popUp.view()->sizeHintForColumn(0), popUp.view()->viewport()->width())
            << popUp.objectName().toStdString();
        popUp.hidePopup();
    }

    LanguageScope m_language;
    QFont m_fontBefore;
    QString m_family;
    FakeScreens m_screens;
};

std::string caseName(const testing::TestParamInfo<WindowFit::ParamType>& info)
{
    std::string name = std::get<0>(info.param) + "_" + std::get<1>(info.param);
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Fonts, WindowFit,
                         testing::Combine(testing::Values("DejaVu Sans", "Noto Sans", "Cantarell", "Inter",
                                                          "Liberation Sans"),
                                          testing::Values("nl", "en")),
                         caseName);

TEST_P(WindowFit, TheFontAndTheScaleAreTheOnesMeant)
{
    EXPECT_EQ(QFontInfo(QFont(m_family)).family(), m_family);
    const QByteArray scale = qgetenv("QT_SCALE_FACTOR");
    EXPECT_DOUBLE_EQ(qApp->devicePixelRatio(), scale.isEmpty() ? 1.0 : scale.toDouble());
}

TEST_P(WindowFit, TheAboutWindow)
{
    FakeWorkspace workspace;
    AboutWindow about(u"10.20.30"_s, m_screens, workspace);
    about.openAbout();
    expectEverythingFits(*about.aboutWindow());
    expectNothingOverlaps(*about.aboutWindow());
}

TEST_P(WindowFit, TheOfferWindowInEveryState)
{
    FakeModelDownload download;
    ManualMainQueue queue;
    OfferWindow offer(download, m_screens, queue);
    offer.offerModelDownload([](ModelOutcome) {});
    expectEverythingFits(*offer.modelWindow());
    auto& downloadButton = offer.modelWindow()->control<QPushButton>(u"downloadButton"_s);
    const QStringList failures{
        u"Download gaf status 404."_s,
        u"Download onvolledig (1400000000 bytes)."_s,
        u"Te weinig schijfruimte voor het model (1624555275 bytes nodig)."_s,
        u"Error transferring https://example.org/tavlo/whisper.cpp/resolve/main/"
        "ggml-large-v3-turbo.bin - server replied: Internal Server Error"_s,
    };
    for (const QString& description : failures) {
        downloadButton.click();
        expectEverythingFits(*offer.modelWindow());
        download.progress(0, 12'000, -1);
        expectEverythingFits(*offer.modelWindow());
        download.progress(1, 999'900'000, 88'888'000'000);
        queue.advance(std::chrono::milliseconds(100));
        EXPECT_TRUE(labelText(*offer.modelWindow(), "status").endsWith(u"(100%)"_s));
        expectEverythingFits(*offer.modelWindow());
        expectNothingOverlaps(*offer.modelWindow());
        download.finish(failure(1, description));
        expectEverythingFits(*offer.modelWindow());
        expectNothingOverlaps(*offer.modelWindow());
    }
}

TEST_P(WindowFit, TheSettingsWindowWithEveryChoice)
{
    const QTemporaryDir folder;
    ManualMainQueue queue;
    MemoryLog log;
    FakeSecretStore secrets(queue);
    Keychain keychain(secrets);
    ConfigFile file(folder.filePath(u"config.json"_s), keychain, log);
    FakeWorkspace workspace;
    SettingsWindow settings({file, keychain, secrets, log, workspace, m_screens}, [] {});
    settings.openSettings();
    SettingsForm& form = settings.form();
    for (const int provider : {0, 1}) {
        form.providerPopup.setCurrentIndex(provider);
        settings.providerChanged();
        for (int model = 0; model < form.modelPopup.count(); ++model) {
            form.modelPopup.setCurrentIndex(model);
            settings.modelChanged();
            expectEverythingFits(*settings.settingsWindow());
        }
        expectEntriesFit(form.modelPopup);
    }
    form.duckSlider.setFraction(0.3);
    expectEverythingFits(*settings.settingsWindow());
    expectNothingOverlaps(*settings.settingsWindow());
    expectEntriesFit(form.langPopup);
    expectEntriesFit(form.providerPopup);
    expectEntriesFit(form.enginePopup);
}
