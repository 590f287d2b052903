#pragma once

#include "audio/duck_journal.h"
#include "platform/output_volume.h"

#include <QString>

#include <optional>

namespace tavlo {

// The ducker's journal as a small file, so that the volume is put back even when the process could not do it itself.
// A failed write is dropped: it costs the repair, not the dictation. Main thread.
class DuckJournalFile : public DuckJournal {
public:
    explicit DuckJournalFile(QString path);

    void began(const DuckedOutput& ducked) override;
    void ended() override;
    // What an earlier process left; none when there is nothing, or nothing readable.
    std::optional<DuckedOutput> left() const;

private:
    QString m_path;
};

// Whether an output that stands at `current` was left there by the fade of `ducked`, rather than set by the user.
bool standsWhereTheFadeLeftIt(const DuckedOutput& ducked, float current);

// Puts back what an earlier process left lowered, as soon as that output is known, and forgets it; a volume that the
// user has changed since stays. Main thread.
class DuckRepair {
public:
    // Both outlive it. Takes note of what is left here, before a new duck replaces it; does nothing else yet.
    DuckRepair(DuckJournalFile& journal, OutputVolume& output);

    // Repairs now, or when the output appears.
    void start();

private:
    void tryRepair();

    DuckJournalFile& m_journal;
    OutputVolume& m_output;
    std::optional<DuckedOutput> m_left;
    Registration m_outputs;
};

}  // namespace tavlo
