#pragma once

#include "ui/overlays/overlays.h"

#include <QStringList>

#include <vector>

namespace tavlo {

// Notes what was shown.
class FakeRecordingOverlay : public RecordingOverlay {
public:
    void show() override
    {
        visible = true;
        ++showCount;
        levels.clear();
    }
    void hide() override
    {
        visible = false;
        ++hideCount;
    }
    void push(float level) override { levels.push_back(level); }

    bool visible = false;
    int showCount = 0;
    int hideCount = 0;
    std::vector<float> levels;  // since the last show
};

// Notes the messages; does not hide by itself.
class FakeMessageOverlay : public MessageOverlay {
public:
    struct Message {
        QString text;
        std::optional<double> autoHideSeconds;

        bool operator==(const Message&) const = default;
    };

    void show(const QString& text, std::optional<double> autoHideSeconds) override
    {
        visible = true;
        messages.push_back({text, autoHideSeconds});
    }
    void hide() override
    {
        visible = false;
        ++hideCount;
    }

    // Of all messages so far, oldest first.
    QStringList texts() const
    {
        QStringList texts;
        for (const Message& message : messages) {
            texts.append(message.text);
        }
        return texts;
    }

    bool visible = false;
    int hideCount = 0;
    std::vector<Message> messages;
};

}  // namespace tavlo
