#include "audio/speech_converter.h"

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

// A complete image around `samples`.
QByteArray imageOf(const QByteArray& samples, std::uint32_t sampleRate = 16000)
{
    QByteArray image = QByteArray(kWavHeaderSize, '\xff') + samples;
    writeWavHeader(image, sampleRate);
    return image;
}

TEST(Wav, EmptySamplesGiveJustTheHeader)
{
    const QByteArray image = imageOf({});
    EXPECT_EQ(image.size(), 44);
    EXPECT_EQ(numberAt<std::uint32_t>(image, 4), 36U);
    EXPECT_EQ(numberAt<std::uint32_t>(image, 40), 0U);
}

TEST(Wav, OneSecondAtTheDefaultRate)
{
    const QByteArray image = imageOf(QByteArray(32000, '\0'));
    EXPECT_EQ(image.size(), 32044);
    EXPECT_EQ(numberAt<std::uint32_t>(image, 4), 32036U);
    EXPECT_EQ(numberAt<std::uint32_t>(image, 24), 16000U);
    EXPECT_EQ(numberAt<std::uint32_t>(image, 28), 32000U);
    EXPECT_EQ(numberAt<std::uint32_t>(image, 40), 32000U);
}

TEST(Wav, OddByteCountGetsNoPadByte)
{
    const QByteArray image = imageOf(QByteArray("abc"));
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
    EXPECT_EQ(imageOf(QByteArray::fromHex("3412"), 44100).toHex(), expected.toHex());
}

TEST(Wav, LargestSampleRate)
{
    const QByteArray image = imageOf({}, std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(numberAt<std::uint32_t>(image, 28), 4294967294U);
}

TEST(Wav, HeaderAndSamplesStayWhereTheyAre)
{
    QByteArray image(kWavHeaderSize + 1000, '\1');
    const char* const before = image.constData();
    writeWavHeader(image);
    EXPECT_EQ(image.constData(), before) << "no copy of a long recording";
    EXPECT_EQ(image.mid(kWavHeaderSize), QByteArray(1000, '\1'));
}

TEST(WavDeathTest, TooHighASampleRateStopsTheProgram)
{
    EXPECT_DEATH(imageOf({}, 2147483648U), "does not fit the byte rate field");
}

TEST(WavDeathTest, TooManySamplesStopTheProgram)
{
    // The bytes are never read: the size alone is looked at.
    static const char byte = 0;
    QByteArray huge = QByteArray::fromRawData(&byte, 4294967295LL - 35 + kWavHeaderSize);
    EXPECT_DEATH(writeWavHeader(huge), "do not fit the size field");
}

TEST(WavDeathTest, AnImageWithoutRoomForItsHeaderStopsTheProgram)
{
    QByteArray image(kWavHeaderSize - 1, '\0');
    EXPECT_DEATH(writeWavHeader(image), "no room for its header");
}

}  // namespace
}  // namespace tavlo
