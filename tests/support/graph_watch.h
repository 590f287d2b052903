#pragma once

#include <chrono>
#include <memory>

namespace tavlo {

// Listens to what a PipeWire server reports about each cycle of its graph. A cycle that is missed because the machine
// was busy elsewhere is lost for whoever records, whatever the recording program does: every program's node can miss
// another one. The server is the one that the process's environment names.
class GraphWatch {
public:
    using Clock = std::chrono::steady_clock;

    GraphWatch();
    ~GraphWatch();
    GraphWatch(const GraphWatch&) = delete;
    GraphWatch& operator=(const GraphWatch&) = delete;

    // Whether a cycle was missed, or came to its end without all of its nodes, between these instants. Waits until the
    // server has reported on that time; throws std::runtime_error when it does not within ten seconds, or is away.
    bool missedBetween(Clock::time_point from, Clock::time_point to) const;

private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

}  // namespace tavlo
