#pragma once

#include "platform/text_literals.h"

#include <QString>

namespace tavlo {

// The smallest size, in bytes, at which a model file counts as complete.
inline constexpr qint64 kModelMinBytes = 1'500'000'000;

inline const QString kModelRemoteURL =
    u"https://huggingface.co/ggerganov/whisper.cpp/resolve/main/ggml-large-v3-turbo.bin"_s;
inline const QString kWebsiteURL = u"https://pelloquintar.nl/tavlo"_s;
inline const QString kFeedbackURL = u"https://pelloquintar.nl/tavlo/support"_s;
// Where the user reads how to let Tavlo type into other programs again.
inline const QString kPasteHelpURL = u"https://pelloquintar.nl/tavlo/support#plakken"_s;
inline const QString kOpenAIKeyPageURL = u"https://platform.openai.com/api-keys"_s;
inline const QString kGroqKeyPageURL = u"https://console.groq.com/keys"_s;

// The program's files, absolute paths, fixed for the life of the process. They are names only: nothing exists before
// somebody creates it.
struct Locations {
    QString kAppSupportDir;      // the user's data folder + "Tavlo"
    QString kConfigURL;          // kAppSupportDir + "config.json"
    QString kLastWavURL;         // kAppSupportDir + "laatste-opname.wav"
    QString kLogURL;             // kAppSupportDir + "app.log"
    QString kDuckJournalURL;     // kAppSupportDir + "gedempt-volume.json", while an output is lowered
    QString kModelsDir;          // kAppSupportDir + "models"
    QString kModelURL;           // kModelsDir + "ggml-large-v3-turbo.bin"
    QString kBundleResourceDir;  // the installed program's own resources, from the executable's folder

    // `dataFolder` is the user's data folder, `executableFolder` the one that holds the program.
    static Locations inFolders(const QString& dataFolder, const QString& executableFolder);
    // From this process: $XDG_DATA_HOME, else ~/.local/share. Stops the program when there is neither. Wants the
    // QCoreApplication to be there, which knows where the executable stands.
    static Locations forThisProcess();
};

}  // namespace tavlo
