#include "midi/backend/PortNames.h"

#include <QTest>

using midi::NameStyle;
using midi::Port;
using midi::PortPair;
using Names = std::vector<std::string>;

namespace
{

constexpr char WindowsInput[] = "MIDIIN4 (Ostrel)";

QByteArray text(const std::vector<PortPair> &pairs)
{
    QByteArrayList list;
    for (const PortPair &pair : pairs)
        list << QByteArray::number(pair.input.number) + '-' +
                    QByteArray::number(pair.output.number);
    return list.join(' ');
}

std::vector<Port> ports(NameStyle style, const Names &names)
{
    std::vector<Port> list;
    for (const std::string &name : names)
        list.push_back(midi::parsePort(style, static_cast<unsigned>(list.size()), name));
    return list;
}

} // namespace

/// The rules for each back end, with names as the MIDI library reports them there.
class TestPortNames : public QObject
{
    Q_OBJECT

private slots:
    void readsAlsaAddresses()
    {
        const auto address = midi::parsePort(NameStyle::Alsa, 0, "Ostrel:Tape 1:3 20:5").alsa;
        QVERIFY(address);
        QCOMPARE(address->client, 20U);
        QCOMPARE(address->port, 5U);
        for (const char *name : {"", "Ostrel", "Ostrel:Tape", "Ostrel:Tape 20:", "Ostrel:Tape x:5"})
            QVERIFY2(!midi::parsePort(NameStyle::Alsa, 0, name).alsa, name);
    }

    void findsTheNamedPort_data()
    {
        QTest::addColumn<NameStyle>("style");
        QTest::addColumn<Names>("names");
        QTest::addColumn<std::string>("wanted");
        QTest::addColumn<int>("found");
        const auto row = [](const char *name, NameStyle style, const Names &names, int found,
                            const char *wanted = WindowsInput) {
            QTest::newRow(name) << style << names << std::string(wanted) << found;
        };
        using enum NameStyle;
        row("no ports", WinMM, {}, -1);
        row("WinMM: own number", WinMM, {"Keys 0", "MIDIIN4 (Ostrel) 1"}, 1);
        row("WinMM: another number", WinMM, {"Keys 0", "MIDIIN4 (Ostrel) 7"}, -1);
        row("WinMM: longer name", WinMM, {"MIDIIN4 (Ostrel) X 0", "MIDIIN4 (Ostrel)2"}, -1);
        row("WinMM: exact before plain", WinMM, {"MIDIIN4 (Ostrel) 0", WindowsInput}, 1);
        row("exact: the first of two", Undecorated, {"Keys", WindowsInput, WindowsInput}, 1);
        row("exact: case counts", Undecorated, {"MIDIIN4 (ostrel)"}, -1);
        row("undecorated: nothing taken off", Undecorated,
            {"MIDIIN4 (Ostrel) 0", "Box:MIDIIN4 (Ostrel)"}, -1);
        row("JACK: client in front", Jack, {"a:b", "Box:MIDIIN4 (Ostrel)"}, 1);
        row("JACK: number behind stays", Jack, {"Box:MIDIIN4 (Ostrel) 0"}, -1);
        row("JACK: no alias", Jack, {"Ostrel:Ostrel MIDI 4 20:3"}, -1);
        row("ALSA: client and numbers", Alsa, {"Box:MIDIIN4 (Ostrel) 128:0"}, 0);
        row("ALSA: numbers missing", Alsa, {"Box:MIDIIN4 (Ostrel)"}, 0);
        row("ALSA: alias by port number", Alsa,
            {"Ostrel:Ostrel MIDI 1 20:0", "Ostrel:Ostrel MIDI 4 20:3"}, 1);
        row("ALSA: alias of an output", Alsa, {"Ostrel:Ostrel MIDI 6 20:5"}, 0,
            "MIDIOUT6 (Ostrel)");
        row("ALSA: the number decides, not the jack", Alsa,
            {"Ostrel:Ostrel OST Internal 16:0", "Ostrel:Ostrel DIN 4 16:3"}, 1);
        row("ALSA: jack of an output", Alsa, {"Ostrel:Ostrel OST Internal 16:5"}, 0,
            "MIDIOUT6 (Ostrel)");
        row("ALSA: number in the name", Alsa, {"Ostrel:Tape 1:3 16:0", "Ostrel:Tape 1:0 16:3"}, 1);
        row("ALSA: 64 characters", Alsa, {"Ostrel:" + std::string(64, 'x') + " 16:3"}, 0);
        row("ALSA: alias, longer client", Alsa, {"Ostrel 2:Ostrel MIDI 4 20:3"}, -1);
        row("ALSA: alias, shorter client", Alsa, {"Ost:Ostrel MIDI 4 20:3"}, -1);
        row("ALSA: alias, port 0", Alsa, {"Ostrel:Ostrel MIDI 1 20:0"}, -1, "MIDIIN0 (Ostrel)");
        row("ALSA: alias without number", Alsa, {"Ostrel:Ostrel MIDI 1 20:0"}, -1,
            "MIDIIN (Ostrel)");
        row("ALSA: alias out of range", Alsa, {"Ostrel:Ostrel MIDI 1 20:0"}, -1,
            "MIDIIN4294967297 (Ostrel)");
        row("ALSA: broken wanted names", Alsa, {"Ostrel:X 20:3"}, -1, "MIDIIN4 (Ostrel");
        row("empty wanted name", Alsa, {"Ostrel:X 20:3"}, -1, "");
    }

    void findsTheNamedPort()
    {
        QFETCH(NameStyle, style);
        QFETCH(Names, names);
        QFETCH(std::string, wanted);
        QFETCH(int, found);
        const std::vector<Port> list = ports(style, names);
        const std::vector<const Port *> fitting = midi::findPorts(list, wanted);
        QCOMPARE(fitting.empty() ? -1 : static_cast<int>(fitting[0]->number), found);
    }

    void pairsPorts_data()
    {
        QTest::addColumn<NameStyle>("style");
        QTest::addColumn<Names>("inputs");
        QTest::addColumn<Names>("outputs");
        QTest::addColumn<QByteArray>("pairs");
        const auto row = [](const char *name, NameStyle style, const Names &inputs,
                            const Names &outputs, const char *pairs) {
            QTest::newRow(name) << style << inputs << outputs << QByteArray(pairs);
        };
        using enum NameStyle;
        row("nothing", Alsa, {}, {}, "");
        row("no outputs", Alsa, {"A:a 1:0"}, {}, "");
        row("other order", Undecorated, {"A", "B"}, {"B", "A"}, "0-1 1-0");
        row("identical interfaces", Undecorated, {"A", "A", "A"}, {"A", "B", "A"}, "0-0 1-2");
        row("plain names stay apart", Undecorated, {"A 0"}, {"A 1"}, "");
        row("WinMM: numbers differ", WinMM, {"Keys 0", "Box 1"}, {"Synth 0", "Keys 1", "Box 2"},
            "0-1 1-2");
        row("WinMM: identical interfaces", WinMM, {"A 0", "A 1"}, {"Synth 0", "A 1", "A 2"},
            "0-1 1-2"); // the numbers are the library's, and name no box
        row("JACK: two clients' ports", Jack, {"Box:Ostrel"}, {"Other:X", "Box in:Ostrel"}, "0-1");
        row("JACK: exact before plain", Jack, {"A:p", "B:p"}, {"B:p", "C:p"}, "0-1 1-0");
        row("ALSA: exact", Alsa, {"A:a 20:0", "A:b 20:1"}, {"A:b 20:1", "A:a 20:0"}, "0-1 1-0");
        row("ALSA: plain", Alsa, {"A:Ostrel 128:0"}, {"A:Ostrel 128:1"}, "0-0");
        row("own ports, JACK", Jack, {"KQEditor Out:KQEditor MIDI"}, {"KQEditor In:KQEditor MIDI"},
            "");
        row("own ports, ALSA", Alsa, {"X:a 20:0", "E:KQEditor MIDI 129:0"},
            {"E:KQEditor MIDI 129:0", "X:a 20:0"}, "0-1");
        row("own ports, WinMM", WinMM, {"KQEditor MIDI 0"}, {"KQEditor MIDI 0"}, "");
        row("own ports, undecorated", Undecorated, {"KQEditor MIDI"}, {"KQEditor MIDI"}, "");
    }

    void pairsPorts()
    {
        QFETCH(NameStyle, style);
        QFETCH(Names, inputs);
        QFETCH(Names, outputs);
        QFETCH(QByteArray, pairs);
        QCOMPARE(text(midi::pairPorts({ports(style, inputs), ports(style, outputs)})), pairs);
    }
};

QTEST_APPLESS_MAIN(TestPortNames)
#include "tst_portnames.moc"
