// What moving data to and from the box costs in the editor, over a bare exchange of the same
// messages, with the simulated box on a private MIDI service.

#include "bench/BareExchange.h"
#include "bench/Bench.h"
#include "devices/MidiDevice.h"
#include "firmware/FirmwareUpdate.h"
#include "midi/protocol/DataBlock.h"
#include "midi/protocol/UpdateMessages.h"
#include "support/BoxLink.h"
#include "support/BoxProcess.h"
#include "ui/BoxWindow.h"
#include "unit/firmware/ImageBuilder.h"

#include <QTemporaryFile>

#include <algorithm>

using namespace std::chrono_literals;
using bench::Clock;
using bench::require;
using bench::waitUntil;
using testsupport::BoxProcess;

namespace
{

constexpr std::uint8_t SysexId = 0;
constexpr int Transfers = 20;
constexpr int Pause = 50; ///< between two transfers, in ms
constexpr auto AnswerTime = 10s;
constexpr std::size_t PayloadLength = std::size_t{256} * 1024;

/// Of comments, so that the box has nothing to print when it runs it.
QByteArray scriptOf(qsizetype length)
{
    return QByteArray("# thirty-four characters in a line\n").repeated(200).first(length);
}

void requireReady(const BoxProcess &box)
{
    require(box.isReady(), "the box did not start");
}

/// Throws away what was sent at the very moment of connecting, which may be lost.
void settle(BareExchange &link)
{
    waitUntil([&] { return link.exchange(midi::identityRequest(), 500ms); },
              "the box does not answer");
}

/// The editor, connected, with a few scripts in its library.
class ConnectedWindow : public WindowFixture
{
public:
    explicit ConnectedWindow(const QString &script)
        : WindowFixture(Library(10, {"mine", script}))
    {
        require(boxwindow::connectTo(*this, "Ostrel:0"), "the editor does not connect");
    }
};

void measureRead()
{
    constexpr qsizetype Length = 6900;
    QTemporaryFile file;
    const QByteArray script = scriptOf(Length);
    require(file.open() && file.write(script) == Length && file.flush(), "no script for the box");
    const BoxProcess box({"--script", file.fileName()});
    requireReady(box);
    {
        const auto request = midi::blockReadRequest(SysexId, midi::BlockType::Script);
        BareExchange link(testsupport::InputPortName, testsupport::OutputPortName);
        settle(link);
        for (int i = 0; i < Transfers; ++i) {
            const auto begin = Clock::now();
            require(link.exchange(request, AnswerTime), "the box does not answer");
            bench::sample("read", bench::Floor, bench::millisecondsSince(begin));
        }
    }
    const ConnectedWindow ui("# mine\n");
    QQuickItem *const readIcon = ui.item("readIcon");
    for (int i = 0; i < Transfers; ++i) {
        ui.press(Qt::Key_Home); // so that another script is in the editor
        QTest::qWait(Pause);
        const double time = bench::timeToFrame(*ui.window(), [&] { ui.click(readIcon); });
        require(ui.text("scriptTextArea").toLatin1() == script, "the script was not read");
        bench::sample("read", bench::Measured, time);
    }
}

/// The box acknowledges a script as soon as it has its last byte.
void measureSend()
{
    constexpr qsizetype Length = 6900 - Transfers; // a character is typed before each
    const BoxProcess box;
    requireReady(box);
    BareExchange link(testsupport::InputPortName, testsupport::OutputPortName);
    settle(link);
    const auto timeUntilAcknowledged = [&link](const std::function<void()> &send) {
        QTest::qWait(Pause); // what the box says about the last script is no answer to this one
        link.expectAnswer();
        const auto begin = Clock::now();
        send();
        require(link.awaitAnswer(AnswerTime), "the box does not acknowledge the script");
        return bench::millisecondsSince(begin);
    };

    const QByteArray script = scriptOf(Length);
    const auto message = midi::dataBlock(
        midi::Command::BlockWrite, SysexId, midi::toByte(midi::BlockType::Script),
        midi::ByteView(reinterpret_cast<const std::uint8_t *>(script.data()), script.size()));
    require(message.has_value(), "the script fits in no frame");
    for (int i = 0; i < Transfers; ++i) {
        bench::sample("send", bench::Floor, timeUntilAcknowledged([&] { link.send(*message); }));
    }
    const ConnectedWindow ui(QString::fromLatin1(script));
    QQuickItem *const sendIcon = ui.item("sendIcon");
    ui.click("scriptTextArea");
    for (int i = 0; i < Transfers; ++i) {
        ui.type("x"); // so that there is something to save, as there mostly is
        bench::sample("send", bench::Measured, timeUntilAcknowledged([&] { ui.click(sendIcon); }));
    }
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

double timeBareUpdate(midi::ByteView payload)
{
    BoxProcess box({"--bootloader"});
    requireReady(box);
    BareExchange link(testsupport::InputPortName, testsupport::OutputPortName);
    settle(link);
    const auto blocks = blocksOf(payload);

    const auto begin = Clock::now();
    for (const midi::ByteMessage &block : blocks)
        require(link.exchange(block, AnswerTime), "a block was not answered");
    link.send(midi::updateDone(SysexId, {PayloadLength, 1, 2}));
    const double time = bench::millisecondsSince(begin);
    requireReceived(box);
    return time;
}

double timeUpdate(const QString &imageUrl)
{
    BoxProcess box({"--bootloader"});
    requireReady(box);
    QtRtMIDI link;
    require(testsupport::connectToBox(link, SysexId), "the box does not answer");
    MidiDevice device(midi::OstrelProductId, SysexId);
    device.setMidiObj(&link);
    waitUntil([&] { return device.updateVersion(); }, "the box does not say its version");
    FirmwareUpdate updater;
    updater.setMidiObj(&link);
    updater.setMIDIDevice(&device);
    require(updater.loadFile(imageUrl, midi::OstrelProductId), "the image is refused");
    bool completed = false;
    QObject::connect(&updater, &FirmwareUpdate::updateCompleted, [&] { completed = true; });

    const auto begin = Clock::now();
    updater.startUpdate();
    waitUntil([&] { return completed; }, "the update did not complete");
    const double time = bench::millisecondsSince(begin);
    requireReceived(box);
    return time;
}

void measureUpdate()
{
    const auto payload = image::payload(PayloadLength);
    const image::File file(image::make(payload));
    bench::sample("update", bench::Floor, timeBareUpdate(payload));
    bench::sample("update", bench::Measured, timeUpdate(file.url()));
}

} // namespace

int main(int argc, char *argv[])
{
    return bench::run(argc, argv,
                      {{"read", measureRead}, {"send", measureSend}, {"update", measureUpdate}});
}
