// In which order a dictation's steps are taken: one journal holds what every port was told.

#include "app/app_delegate.h"
#include "desk.h"
#include "platform/text_literals.h"

#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <chrono>

namespace tavlo {
namespace {

using Journal = QStringList;

struct JournalledInput : FakeAudioInput {
    explicit JournalledInput(Journal& list) : FakeAudioInput(AudioFormat{16000, 1}), journal(list) {}
    Result<void> start(BlockHandler blockHandler) override
    {
        journal.append(u"microphone on"_s);
        return FakeAudioInput::start(std::move(blockHandler));
    }
    void stop() override
    {
        journal.append(u"microphone off"_s);
        FakeAudioInput::stop();
    }
    Journal& journal;
};

struct JournalledOutput : FakeOutputVolume {
    explicit JournalledOutput(Journal& list) : journal(list) {}
    // The first thing that a fade either way asks.
    bool hasVolume(const OutputDevice& device) override
    {
        journal.append(u"volume"_s);
        return FakeOutputVolume::hasVolume(device);
    }
    Journal& journal;
};

struct JournalledHud : RecordingOverlay {
    explicit JournalledHud(Journal& list) : journal(list) {}
    void show() override { journal.append(u"overlay on"_s); }
    void hide() override { journal.append(u"overlay off"_s); }
    void push(float) override {}
    Journal& journal;
};

struct JournalledMessage : MessageOverlay {
    explicit JournalledMessage(Journal& list) : journal(list) {}
    void show(const QString&, std::optional<double>) override { journal.append(u"message"_s); }
    void hide() override {}
    Journal& journal;
};

struct JournalledStatusItem : FakeStatusItem {
    explicit JournalledStatusItem(Journal& list) : journal(list) {}
    void setIcon(Activity activity) override
    {
        static const std::map<Activity, QString> kNames{{Activity::Ready, u"ready"_s},
                                                        {Activity::Recording, u"recording"_s},
                                                        {Activity::Transcribing, u"transcribing"_s},
                                                        {Activity::Capturing, u"capturing"_s}};
        journal.append(u"icon "_s + kNames.at(activity));
        FakeStatusItem::setIcon(activity);
    }
    void setMenu(const MenuDescription& description) override
    {
        journal.append(u"status "_s + description.front().title.section(QLatin1Char(' '), 0, 1));
        FakeStatusItem::setMenu(description);
    }
    Journal& journal;
};

struct JournalledLog : AppLog {
    explicit JournalledLog(Journal& list) : journal(list) {}
    void appLog(const QString& message) override
    {
        journal.append(u"log "_s + message.section(QLatin1Char(' '), 0, 1));
    }
    Journal& journal;
};

// Shows the delays of at least a second: those of the fades and of the chord are looked at elsewhere.
struct JournalledQueue : ManualMainQueue {
    explicit JournalledQueue(Journal& list) : journal(list) {}
    void postAfter(Duration delay, std::weak_ptr<void> owner, std::function<void()> task) override
    {
        if (delay >= std::chrono::seconds(1)) {
            journal.append(u"in %1 s"_s.arg(std::chrono::duration_cast<std::chrono::seconds>(delay).count()));
        }
        ManualMainQueue::postAfter(delay, std::move(owner), std::move(task));
    }
    Journal& journal;
};

struct JournalledCloud : FakeCloudEngine {
    JournalledCloud(Journal& list, QString wavPath) : journal(list), path(std::move(wavPath)) {}
    void warmUp() override { journal.append(u"cloud readied"_s); }
    void transcribeCloud(const QByteArray& wav, const Config& config,
                         std::function<void(TranscriptionResult)> completion) override
    {
        QFile file(path);
        const bool saved = file.open(QIODevice::ReadOnly) && file.readAll() == wav;
        journal.append(saved ? u"cloud, the file being there"_s : u"cloud without the file"_s);
        FakeCloudEngine::transcribeCloud(wav, config, std::move(completion));
    }
    Journal& journal;
    QString path;
};

struct JournalledBackground : FakeBackgroundQueue {
    JournalledBackground(Journal& list, QString wavPath) : journal(list), path(std::move(wavPath)) {}
    void run(std::function<void()> task) override
    {
        journal.append(QFile::exists(path) ? u"local, the file being there"_s : u"local without the file"_s);
        FakeBackgroundQueue::run(std::move(task));
    }
    Journal& journal;
    QString path;
};

struct JournalledSecrets : FakeSecretStore {
    JournalledSecrets(MainQueue& queue, Journal& list) : FakeSecretStore(queue), journal(list) {}
    void beginFind(const QString& service, const QString& account) override
    {
        journal.append(u"key sought"_s);
        FakeSecretStore::beginFind(service, account);
    }
    std::optional<QByteArray> find(const QString& service, const QString& account) override
    {
        journal.append(u"key read"_s);
        return FakeSecretStore::find(service, account);
    }
    Journal& journal;
};

class OrderTest : public testing::Test {
protected:
    OrderTest()
    {
        gLang = u"nl"_s;
        m_sounds.onPlay = [this](const FakeSoundPlayer::Played& sound) {
            m_journal.append(sound.name + QLatin1Char(' ') + QString::number(static_cast<double>(sound.volume)));
        };
        m_pasteboard.onSet = [this](const QString& text) { m_journal.append(u"clipboard: "_s + text); };
        m_keystroke.onPaste = [this] { m_journal.append(u"paste"_s); };
        m_secrets.items.push_back({Keychain::service, u"openai_api_key"_s, "sk-test"});
        m_app.emplace(AppParts{
            .locations = m_locations,
            .queue = m_queue,
            .background = m_background,
            .audioInput = m_input,
            .outputVolume = m_output,
            .sounds = m_sounds,
            .secrets = m_secrets,
            .keyboard = m_keyboard,
            .pasteboard = m_pasteboard,
            .keystroke = m_keystroke,
            .loginItem = m_loginItem,
            .workspace = m_workspace,
            .cloud = m_cloud,
            .local = m_local,
            .offer = m_offer,
            .statusItem = m_statusItem,
            .hud = m_hud,
            .msgHud = m_msgHud,
            .windows = m_windows,
            .notification = m_notification,
            .control = m_control,
            .file = m_file,
            .log = m_log,
        });
        m_app->applicationDidFinishLaunching();
        m_journal.clear();
    }

    // The first press, or the second one.
    Journal press()
    {
        m_statusItem.handlers.chosen(MenuAction::MenuToggle, {});
        return std::exchange(m_journal, {});
    }

    void speak(int milliseconds, float amplitude)
    {
        std::vector<float> samples(static_cast<std::size_t>(milliseconds) * 16, amplitude);
        m_input.capture(samples);
        m_queue.runPending();
        m_journal.clear();
    }

    Journal answered(const TranscriptionResult& result)
    {
        m_cloud.answer(result);
        m_queue.runPending();
        return std::exchange(m_journal, {});
    }

    Journal m_journal;
    QTemporaryDir m_home;
    Locations m_locations = Locations::inFolders(m_home.path(), m_home.path());
    JournalledQueue m_queue{m_journal};
    JournalledLog m_log{m_journal};
    JournalledInput m_input{m_journal};
    JournalledOutput m_output{m_journal};
    FakeSoundPlayer m_sounds;
    JournalledSecrets m_secrets{m_queue, m_journal};
    FakeKeyboardMonitor m_keyboard;
    FakePasteboard m_pasteboard;
    FakePasteKeystroke m_keystroke;
    FakeLoginItem m_loginItem;
    FakeWorkspace m_workspace;
    JournalledBackground m_background{m_journal, m_locations.kLastWavURL};
    JournalledCloud m_cloud{m_journal, m_locations.kLastWavURL};
    FakeLocalEngine m_local;
    FakeModelOffer m_offer;
    JournalledStatusItem m_statusItem{m_journal};
    JournalledHud m_hud{m_journal};
    JournalledMessage m_msgHud{m_journal};
    FakeAppWindows m_windows;
    FakeDesktopNotification m_notification;
    FakeSession m_session;
    FakeRemoteControl m_control{m_queue, m_session};
    Keychain m_keychain{m_secrets};
    ConfigFile m_file{m_locations.kConfigURL, m_keychain, m_log};
    std::optional<AppDelegate> m_app;
};

TEST_F(OrderTest, Start)
{
    EXPECT_EQ(press(), (Journal{u"microphone on"_s, u"Pop 0.15"_s, u"volume"_s, u"overlay on"_s, u"icon recording"_s,
                                u"status Opnemen… Rechter"_s, u"cloud readied"_s}));
}

TEST_F(OrderTest, AStartThatFails)
{
    m_input.failStarts(Error{u"x"_s, 1, u"bezet"_s});
    EXPECT_EQ(press(), (Journal{u"microphone on"_s, u"Basso 0.5"_s, u"status ⚠️ Microfoon:"_s}));
}

TEST_F(OrderTest, FinishWithSpeech)
{
    press();
    speak(1000, 0.5F);
    EXPECT_EQ(press(), (Journal{u"key sought"_s, u"microphone off"_s, u"overlay off"_s, u"volume"_s, u"Tink 0.12"_s,
                                u"icon transcribing"_s, u"status Transcriberen… (1"_s, u"log Opname gestopt:"_s,
                                u"in 120 s"_s, u"key read"_s, u"cloud, the file being there"_s}));
}

TEST_F(OrderTest, FinishWithSpeechForTheLocalEngine)
{
    m_file.update(setting::kEngine, kEngineLocal);
    press();
    speak(1000, 0.5F);
    const Journal finish = press();
    EXPECT_EQ(finish.last(), u"local, the file being there"_s);
    EXPECT_EQ(finish.mid(finish.size() - 3, 2), (Journal{u"in 120 s"_s, u"key read"_s}));
}

TEST_F(OrderTest, FinishTooShort)
{
    press();
    speak(100, 0.5F);
    EXPECT_EQ(press(), (Journal{u"key sought"_s, u"microphone off"_s, u"overlay off"_s, u"volume"_s, u"Tink 0.12"_s,
                                u"icon ready"_s, u"status Opname te"_s}));
}

TEST_F(OrderTest, FinishWithoutAnySignal)
{
    press();
    speak(1000, 0.0F);
    EXPECT_EQ(press(), (Journal{u"key sought"_s, u"microphone off"_s, u"overlay off"_s, u"volume"_s, u"Tink 0.12"_s,
                                u"icon ready"_s, u"message"_s, u"log Stilte gedetecteerd"_s,
                                u"status Geen microfoonsignaal"_s}));
}

TEST_F(OrderTest, Cancel)
{
    press();
    m_keyboard.sendKeyDown({KeyCode::Escape, ModifierFlags::None, KeyRepeat::FirstPress, {}});
    m_queue.runPending();
    EXPECT_EQ(m_journal, (Journal{u"microphone off"_s, u"overlay off"_s, u"volume"_s, u"Basso 0.2"_s, u"icon ready"_s,
                                  u"status Opname geannuleerd"_s}));
}

TEST_F(OrderTest, ADeviceThatChanges)
{
    press();
    m_input.changeConfiguration();
    EXPECT_EQ(m_journal, (Journal{u"log Audio-apparaat gewisseld"_s, u"microphone off"_s, u"overlay off"_s, u"volume"_s,
                                  u"Basso 0.2"_s, u"icon ready"_s, u"status Opname geannuleerd"_s, u"message"_s,
                                  u"status Audio-apparaat gewisseld"_s}));
}

TEST_F(OrderTest, Delivery)
{
    press();
    speak(1000, 0.5F);
    press();
    EXPECT_EQ(answered(u"dag"_s),
              (Journal{u"icon ready"_s, u"log Klaar via"_s, u"status Geplakt via"_s, u"clipboard: dag"_s}));
}

TEST_F(OrderTest, Fallback)
{
    press();
    speak(1000, 0.5F);
    press();
    EXPECT_EQ(answered(failure(500, u"kapot"_s)),
              (Journal{u"log OpenAI mislukt:"_s, u"status OpenAI niet"_s, u"local, the file being there"_s}));
}

TEST_F(OrderTest, Watchdog)
{
    press();
    speak(1000, 0.5F);
    press();
    m_queue.advance(std::chrono::seconds(120));
    const Journal seen = m_journal.filter(QRegularExpression(u"^(?!volume)"_s));
    EXPECT_EQ(seen, (Journal{u"icon ready"_s, u"log WAAKHOND: transcriptie"_s, u"Basso 0.5"_s,
                             u"status ⚠️ Transcriptie"_s}));
}

}  // namespace
}  // namespace tavlo
