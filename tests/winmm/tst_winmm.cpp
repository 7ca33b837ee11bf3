#include "midi/QtRtMIDI.h"
#include "support/Rows.h"
#include "winmm/FakeWinMM.h"

#include <QTest>

#include <RtMidi.h>

namespace
{

constexpr char Input[] = "MIDIIN4 (Ostrel)";
constexpr char Output[] = "MIDIOUT6 (Ostrel)";
constexpr std::uint8_t ScriptRequest[] = {0xF0, 0, 1, 0x5B, 0, 0x33, 4, 0, 0, 0xF7};

enum class Close { Away, Back, ByOpening, ByEnding };

/// The script of a pair that was found, or why there is none.
QString readScript(QtRtMIDI &link, unsigned index = 0)
{
    return link.selectPort(index) ? link.getScript().toString() : link.getErrorMessage();
}

} // namespace

/// Our code and the MIDI library's for Windows, on a stand-in for Windows with simulated boxes.
class TestWinMM : public QObject
{
    Q_OBJECT

private slots:
    void init() { fakewinmm::reset(); }

    void findsNames()
    {
        fakewinmm::addBox("x");
        QtRtMIDI link;
        link.scanPorts(Input, Output);
        QCOMPARE(readScript(link), "x");
        QCOMPARE(link.portCount(), 1);
        QCOMPARE(link.portName(0), "MIDIIN4 (Ostrel) 3");
        QCOMPARE(link.pair(0).input.name, std::string(Input));
        const midi::PortNames names = link.portNames();
        QCOMPARE(names, (midi::PortNames{{"Ostrel", "MIDIIN2 (Ostrel)", "MIDIIN3 (Ostrel)", Input},
                                         {"Microsoft GS Wavetable Synth", "Ostrel",
                                          "MIDIOUT2 (Ostrel)", "MIDIOUT3 (Ostrel)",
                                          "MIDIOUT4 (Ostrel)", "MIDIOUT5 (Ostrel)", Output}}));
        QVERIFY(link.isOpenAmong(names));
        fakewinmm::addBox("y");
        link.closePort();
        link.scanPorts(nullptr, nullptr);
        QCOMPARE(link.portName(1), "Ostrel 4");
        fakewinmm::setPlugged(0, false);
        link.scanPorts(Input, Output);
        QCOMPARE(readScript(link), "y");
    }

    /// An input that leaves the library's buffers as they are gets the same in pieces.
    void movesALongScriptWhole()
    {
        fakewinmm::addBox("x");
        QtRtMIDI link;
        link.scanPorts(Input, Output);
        QCOMPARE(readScript(link), "x");
        const QByteArray script = QByteArray("print(1)\n").repeated(767).first(6900);
        const auto *bytes = reinterpret_cast<const std::uint8_t *>(script.data());
        QVERIFY(link.sendSettingsBlock(4, bytes, 6900, false));
        QCOMPARE(link.getScript().toString(), QString(script));
        link.closePort();

        RtMidiIn input;
        input.ignoreTypes(false);
        input.openPort(3);
        RtMidiOut output;
        output.openPort(6);
        output.sendMessage(ScriptRequest, sizeof ScriptRequest);
        std::vector<std::size_t> sizes;
        std::vector<std::uint8_t> piece;
        while (piece.empty() || piece.back() != 0xF7) {
            QVERIFY(QTest::qWaitFor([&] { return input.getMessage(&piece), !piece.empty(); }));
            sizes.push_back(piece.size());
        }
        QCOMPARE(sizes, (std::vector<std::size_t>{1024, 1024, 1024, 1024, 1024, 1024, 1024, 735}));
    }

    void waitsForAnInputThatSomebodyHolds()
    {
        fakewinmm::addBox("x");
        RtMidiIn other;
        other.openPort(3);
        QtRtMIDI link;
        link.scanPorts(Input, Output);
        QCOMPARE(readScript(link),
                 "MidiInWinMM::openPort: error creating Windows MM MIDI input port.");
        QVERIFY(!link.portsReady());
        other.closePort();
        QCOMPARE(readScript(link), "x");
    }

    /// The library calls these inputs "Ostrel 0" and "Ostrel 1", the outputs "Ostrel 1" and
    /// "Ostrel 2": one number does not mean one box.
    void pairsEachBoxWithItself()
    {
        fakewinmm::addBox("first", 1, 1);
        fakewinmm::addBox("second", 1, 1);
        QtRtMIDI link;
        link.scanPorts(nullptr, nullptr);
        QCOMPARE(readScript(link), "first");
        QCOMPARE(readScript(link, 1), "second");
    }

    /// What closes the ports that an unplug took. The library fails at it each time.
    void survivesUnplugs_data()
    {
        const testsupport::Rows<Close> row;
        row("while it is away", Close::Away);
        row("when it is back", Close::Back);
        row("by the next opening", Close::ByOpening);
        row("by the link's end", Close::ByEnding);
    }

    void survivesUnplugs()
    {
        const auto [close] = testsupport::row<Close>();
        fakewinmm::addBox("x");
        auto link = std::make_unique<QtRtMIDI>();
        for (int i = 0; i < 20; ++i) {
            link->scanPorts(Input, Output);
            QCOMPARE(readScript(*link), "x");
            fakewinmm::setPlugged(0, false);
            QVERIFY(!link->isOpenAmong(link->portNames()));
            QVERIFY(!link->sendIDReq());
            QVERIFY(QByteArray(link->getErrorMessage()).endsWith("error sending sysex message."));
            fakewinmm::setPlugged(0, close != Close::Away);
            if (close == Close::ByEnding)
                link = std::make_unique<QtRtMIDI>();
            if (close == Close::Away || close == Close::Back) {
                link->closePort();
                QVERIFY(QByteArray(link->getErrorMessage()).endsWith("(midiInUnprepareHeader)."));
            }
            QCOMPARE(link->portsReady(), close == Close::ByOpening);
            fakewinmm::setPlugged(0, true);
        }
    }
};

QTEST_GUILESS_MAIN(TestWinMM)
#include "tst_winmm.moc"
