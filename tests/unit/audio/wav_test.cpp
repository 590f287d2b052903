#include "audio/wav.h"

#include <gtest/gtest.h>

#include <QtEndian>

#include <cstdint>
#include <limits>

namespace tavlo {
namespace {

template <class T>
T numberAt(const QByteArray& image, qsizetype offset)
{
    return qFromLittleEndian<T>(image.constData() + offset);
}

TEST(Wav, EmptySamplesGiveJustTheHeader)
{
    const QByteArray image = makeWav({});
    EXPECT_EQ(image.size(), 44);
    EXPECT_EQ(numberAt<std::uint32_t>(image, 4), 36U);
    EXPECT_EQ(numberAt<std::uint32_t>(image, 40), 0U);
}

TEST(Wav, OneSecondAtTheDefaultRate)
{
    const QByteArray image = makeWav(QByteArray(32000, '\0'));
    EXPECT_EQ(image.size(), 32044);
    EXPECT_EQ(numberAt<std::uint32_t>(image, 4), 32036U);
    EXPECT_EQ(numberAt<std::uint32_t>(image, 24), 16000U);
    EXPECT_EQ(numberAt<std::uint32_t>(image, 28), 32000U);
    EXPECT_EQ(numberAt<std::uint32_t>(image, 40), 32000U);
}

TEST(Wav, OddByteCountGetsNoPadByte)
{
    const QByteArray image = makeWav(QByteArray("abc"));
    EXPECT_EQ(image.size(), 47);
    EXPECT_EQ(numberAt<std::uint32_t>(image, 4), 39U);
    EXPECT_EQ(numberAt<std::uint32_t>(image, 40), 3U);
    EXPECT_EQ(image.mid(44), QByteArray("abc"));
}

TEST(Wav, EveryByteOfTheHeader)
{
    const QByteArray expected = QByteArray::fromHex(
        "52494646"
        "26000000"
        "57415645"
        "666d7420"
        "10000000"
        "0100"
        "0100"
        "44ac0000"
        "88580100"
        "0200"
        "1000"
        "64617461"
        "02000000"
        "3412");
    EXPECT_EQ(makeWav(QByteArray::fromHex("3412"), 44100).toHex(), expected.toHex());
}

TEST(Wav, LargestSampleRate)
{
    const QByteArray image = makeWav({}, std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(numberAt<std::uint32_t>(image, 28), 4294967294U);
}

TEST(WavDeathTest, TooHighASampleRateStopsTheProgram)
{
    EXPECT_DEATH(makeWav({}, 2147483648U), "does not fit the byte rate field");
}

TEST(WavDeathTest, TooManySamplesStopTheProgram)
{
    // The bytes are never read: the size alone is looked at.
    static const char byte = 0;
    const QByteArray huge = QByteArray::fromRawData(&byte, 4294967295LL - 35);
    EXPECT_DEATH(makeWav(huge), "do not fit the size field");
}

}  // namespace
}  // namespace tavlo
