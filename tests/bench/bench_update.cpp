// What the update procedure costs over a bare exchange of the same messages, with a simulated box
// on a private MIDI service. Prints a table; the figures depend on the machine and its load.

#include "bench/BareExchange.h"
#include "devices/MidiDevice.h"
#include "firmware/FirmwareUpdate.h"
#include "midi/UpdateMessages.h"
#include "support/BoxLink.h"
#include "support/BoxProcess.h"
#include "support/MidiServer.h"
#include "unit/firmware/ImageBuilder.h"

#include <QCoreApplication>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <stdexcept>

using testsupport::BoxProcess;
using testsupport::MidiServer;

namespace
{

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr std::uint8_t SysexId = 0;
constexpr std::size_t PayloadLength = std::size_t{256} * 1024;
constexpr int Runs = 5;
constexpr auto AnswerTime = 10s;
constexpr auto RunTime = 120s;

double secondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

void require(bool condition, const char *what)
{
    if (!condition)
        throw std::runtime_error(what);
}

void requireReceived(BoxProcess &box)
{
    require(box.waitForLine(QString("^firmware complete length=%1 ").arg(PayloadLength)),
            "the box does not hold the firmware");
}

std::vector<midi::ByteMessage> blocksOf(midi::ByteView payload)
{
    std::vector<midi::ByteMessage> blocks;
    for (std::size_t position = 0; position < payload.size(); position += midi::UpdateBlockSize) {
        const std::size_t length =
            std::min<std::size_t>(midi::UpdateBlockSize, payload.size() - position);
        blocks.push_back(midi::updateData(SysexId, static_cast<std::uint32_t>(position),
                                          payload.subspan(position, length)));
    }
    return blocks;
}

double timeBareExchange(midi::ByteView payload)
{
    BoxProcess box({"--bootloader"});
    require(box.isReady(), "the box did not start");
    BareExchange link(testsupport::InputPortName, testsupport::OutputPortName);
    // What is sent at the very moment of connecting may be lost.
    require(QTest::qWaitFor([&] { return link.exchange(midi::identityRequest(), 500ms); }, 20000),
            "the box does not answer");
    const auto blocks = blocksOf(payload);

    const auto begin = Clock::now();
    for (const midi::ByteMessage &block : blocks)
        require(link.exchange(block, AnswerTime), "a block was not answered");
    link.send(midi::updateDone(SysexId, PayloadLength, 1, 2));
    const double seconds = secondsSince(begin);
    requireReceived(box);
    return seconds;
}

double timeUpdate(const QString &imageUrl)
{
    BoxProcess box({"--bootloader"});
    require(box.isReady(), "the box did not start");
    QtRtMIDI link;
    require(testsupport::connectToBox(link, SysexId), "the box does not answer");
    MidiDevice device(OstrelProductId, SysexId);
    device.setMidiObj(&link);
    require(QTest::qWaitFor([&] { return device.updateVersion(); }, 20000),
            "the box does not say its version");
    FirmwareUpdate updater;
    updater.setMidiObj(&link);
    updater.setMIDIDevice(&device);
    require(updater.loadFile(imageUrl, OstrelProductId), "the image is refused");
    bool completed = false;
    QObject::connect(&updater, &FirmwareUpdate::updateCompleted, [&] { completed = true; });

    const auto begin = Clock::now();
    updater.startUpdate();
    while (!completed && Clock::now() - begin < RunTime)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const double seconds = secondsSince(begin);
    require(completed, "the update did not complete");
    requireReceived(box);
    return seconds;
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void run()
{
    MidiServer server;
    require(server.isRunning(), "no MIDI service");
    const auto payload = image::payload(PayloadLength);
    const image::File file(image::make(payload));

    std::vector<double> bare;
    std::vector<double> update;
    std::printf("%zu bytes in %zu blocks\nrun  bare exchange   update\n", PayloadLength,
                blocksOf(payload).size());
    for (int i = 1; i <= Runs; ++i) {
        bare.push_back(timeBareExchange(payload));
        update.push_back(timeUpdate(file.url()));
        std::printf("%3d  %11.2f s  %6.2f s\n", i, bare.back(), update.back());
        std::fflush(stdout);
    }
    std::printf("median %9.2f s  %6.2f s  ratio %.2f\n", median(bare), median(update),
                median(update) / median(bare));
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication app(argc, argv);
    try {
        run();
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "bench_update: %s\n", error.what());
        return 1;
    }
}
