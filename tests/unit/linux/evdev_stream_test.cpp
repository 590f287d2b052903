#include "linux/evdev/evdev_stream.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

namespace tavlo {
namespace {

using Bytes = std::vector<std::byte>;

// As the kernel of a 64-bit machine writes it: seconds, microseconds, type, code, value.
void append(Bytes& bytes, std::uint16_t type, std::uint16_t code, std::int32_t value, std::int64_t seconds = 0,
            std::int64_t microseconds = 0)
{
    input_event event{};
    event.input_event_sec = seconds;
    event.input_event_usec = microseconds;
    event.type = type;
    event.code = code;
    event.value = value;
    const auto* const begin = reinterpret_cast<const std::byte*>(&event);
    bytes.insert(bytes.end(), begin, begin + sizeof event);
}

// A tap of the right Super key, as it was recorded from a USB keyboard: scan code, key, report.
Bytes tapOfRightSuper()
{
    Bytes bytes;
    append(bytes, EV_MSC, MSC_SCAN, 0x700e7, 12, 345'678);
    append(bytes, EV_KEY, KEY_RIGHTMETA, 1, 12, 345'678);
    append(bytes, EV_SYN, SYN_REPORT, 0, 12, 345'678);
    append(bytes, EV_MSC, MSC_SCAN, 0x700e7, 12, 420'999);
    append(bytes, EV_KEY, KEY_RIGHTMETA, 0, 12, 420'999);
    append(bytes, EV_SYN, SYN_REPORT, 0, 12, 420'999);
    return bytes;
}

const std::vector<EvdevKey> kTap{{KEY_RIGHTMETA, EvdevAction::Press, 12'345},
                                 {KEY_RIGHTMETA, EvdevAction::Release, 12'420}};

struct Reader {
    EvdevStream stream;
    std::vector<EvdevKey> keys;
    int losses = 0;

    void read(std::span<const std::byte> bytes)
    {
        losses += stream.feed(bytes, [this](const EvdevKey& key) { keys.push_back(key); }) ? 1 : 0;
    }
};

TEST(EvdevStreamTest, GivesTheKeysOfARecordingWithTheirTimes)
{
    Reader reader;
    reader.read(tapOfRightSuper());
    EXPECT_EQ(reader.keys, kTap);
    EXPECT_EQ(reader.losses, 0);
}

TEST(EvdevStreamTest, AReadMayEndAnywhereWithinAnEvent)
{
    const Bytes bytes = tapOfRightSuper();
    for (std::size_t size = 1; size <= bytes.size(); ++size) {
        Reader reader;
        for (std::size_t begin = 0; begin < bytes.size(); begin += size) {
            reader.read(std::span(bytes).subspan(begin, std::min(size, bytes.size() - begin)));
        }
        EXPECT_EQ(reader.keys, kTap) << "in pieces of " << size;
    }
}

TEST(EvdevStreamTest, TellsRepeatsFromPresses)
{
    Bytes bytes;
    append(bytes, EV_KEY, KEY_F9, 1);
    append(bytes, EV_SYN, SYN_REPORT, 0);
    append(bytes, EV_KEY, KEY_F9, 2);
    append(bytes, EV_SYN, SYN_REPORT, 1);
    Reader reader;
    reader.read(bytes);
    EXPECT_EQ(reader.keys, (std::vector<EvdevKey>{{KEY_F9, EvdevAction::Press, 0}, {KEY_F9, EvdevAction::Repeat, 0}}));
}

TEST(EvdevStreamTest, WhatComesWithDroppedEventsIsLeftOutAndTheLossIsTold)
{
    Bytes bytes;
    append(bytes, EV_KEY, KEY_A, 1);
    append(bytes, EV_SYN, SYN_DROPPED, 0);
    append(bytes, EV_KEY, KEY_LEFTSHIFT, 1);
    append(bytes, EV_SYN, SYN_REPORT, 0);
    append(bytes, EV_KEY, KEY_B, 1);
    Reader reader;
    reader.read(bytes);
    EXPECT_EQ(reader.keys, (std::vector<EvdevKey>{{KEY_A, EvdevAction::Press, 0}, {KEY_B, EvdevAction::Press, 0}}));
    EXPECT_EQ(reader.losses, 1);
}

TEST(EvdevStreamTest, ALossIsToldAtItsEndThoughThatComesWithAnotherRead)
{
    Bytes bytes;
    append(bytes, EV_SYN, SYN_DROPPED, 0);
    append(bytes, EV_KEY, KEY_A, 1);
    Reader reader;
    reader.read(bytes);
    EXPECT_EQ(reader.losses, 0);
    Bytes end;
    append(end, EV_KEY, KEY_B, 1);
    append(end, EV_SYN, SYN_REPORT, 0);
    reader.read(end);
    EXPECT_EQ(reader.losses, 1);
    EXPECT_TRUE(reader.keys.empty());
}

TEST(EvdevStreamTest, ValuesAndCodesThatNoKeyHasAreLeftOut)
{
    Bytes bytes;
    append(bytes, EV_KEY, KEY_A, -1);
    append(bytes, EV_KEY, KEY_A, 3);
    append(bytes, EV_KEY, KEY_CNT, 1);
    append(bytes, EV_KEY, 0xffff, 1);
    append(bytes, EV_REL, REL_X, 1);
    append(bytes, EV_LED, LED_CAPSL, 1);
    Reader reader;
    reader.read(bytes);
    EXPECT_TRUE(reader.keys.empty());
}

// Whatever comes, in whatever pieces: each key that is told has a code and an action of its own, and a good recording
// after the next report is understood again.
TEST(EvdevStreamTest, UnderstandsAGoodRecordingAfterAnyBytes)
{
    std::mt19937 random(20261122);
    for (int round = 0; round < 3000; ++round) {
        Reader reader;
        Bytes bytes((random() % 40) * sizeof(input_event));
        for (std::byte& byte : bytes) {
            // Small values are met often enough to make events of the kinds that count.
            byte = static_cast<std::byte>(random() % 3 == 0 ? random() % 256 : random() % 4);
        }
        std::size_t begin = 0;
        while (begin < bytes.size()) {
            const std::size_t size = std::min<std::size_t>(1 + random() % 100, bytes.size() - begin);
            reader.read(std::span(bytes).subspan(begin, size));
            begin += size;
        }
        for (const EvdevKey& key : reader.keys) {
            ASSERT_LT(key.code, KEY_CNT);
        }
        Bytes report;
        append(report, EV_SYN, SYN_REPORT, 0);
        reader.read(report);
        reader.keys.clear();
        reader.read(tapOfRightSuper());
        ASSERT_EQ(reader.keys, kTap) << "round " << round;
    }
}

}  // namespace
}  // namespace tavlo
