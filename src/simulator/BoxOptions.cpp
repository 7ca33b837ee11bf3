#include "simulator/BoxOptions.h"

#include "midi/protocol/DataBlock.h"

#include <QCommandLineParser>
#include <QFile>

#include <array>
#include <limits>

namespace simulator
{
namespace
{

constexpr char Program[] = "ostrel-box";

/// Converts an option's value into a field. False when the value is not one of those allowed.
using Apply = bool (*)(BoxOptions &options, const QString &value);

struct Option
{
    const char *name = nullptr;
    const char *valueName = nullptr; ///< null for a switch
    const char *help = nullptr;
    Apply apply = nullptr;
    bool isFault = false;
};

template <typename Number>
bool readNumber(const QString &value, Number &number,
                unsigned max = std::numeric_limits<int>::max(), unsigned min = 0)
{
    bool ok = false;
    const unsigned parsed = value.toUInt(&ok);
    if (!ok || parsed < min || parsed > max)
        return false;
    number = static_cast<Number>(parsed);
    return true;
}

bool readMilliseconds(const QString &value, std::chrono::milliseconds &time)
{
    int count = 0;
    if (!readNumber(value, count))
        return false;
    time = std::chrono::milliseconds(count);
    return true;
}

bool readVersion(const QString &value, midi::FirmwareVersion &version)
{
    const QStringList parts = value.split('.');
    return parts.size() == 3 && readNumber(parts[0], version.major, 7) &&
           readNumber(parts[1], version.minor, 15) && readNumber(parts[2], version.point, 127);
}

bool readFile(const QString &path, std::vector<std::uint8_t> &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray content = file.readAll();
    bytes.assign(content.begin(), content.end());
    return true;
}

bool readName(const QString &value, std::string &name)
{
    name = value.toStdString();
    return name.size() <= midi::MaxNameLength;
}

bool readScript(const QString &path, std::vector<std::uint8_t> &script)
{
    return readFile(path, script) && script.size() <= midi::MaxRawPayload;
}

bool readWrongCrc(const QString &value, WrongCrc &wrongCrc)
{
    if (value != "once" && value != "always")
        return false;
    wrongCrc = value == "once" ? WrongCrc::Once : WrongCrc::Always;
    return true;
}

/// Makes a switch's function out of a pointer to what it switches on.
template <bool BoxFaults::*Field>
bool switchOn(BoxOptions &options, const QString & /*value*/)
{
    options.faults.*Field = true;
    return true;
}

template <std::uint32_t BoxFaults::*Field>
bool setCount(BoxOptions &options, const QString &value)
{
    return readNumber(value, options.faults.*Field, std::numeric_limits<int>::max(), 1);
}

constexpr std::array Options{
    Option{"product", "N", "Product ID, 0 to 127 (default 26, the Ostrel).",
           [](BoxOptions &o, const QString &v) { return readNumber(v, o.profile.productId, 127); }},
    Option{"sysex-id", "N", "Sysex ID, 0 to 127 (default 0).",
           [](BoxOptions &o, const QString &v) {
               return readNumber(v, o.profile.sysexId, midi::MaxSysexId);
           }},
    Option{"name", "TEXT", "Display name of at most 31 bytes (default Ostrel).",
           [](BoxOptions &o, const QString &v) { return readName(v, o.profile.name); }},
    Option{"mode", "N", "Operating mode: 0 merge, 1 USB MIDI, 2 Python script (default 2).",
           [](BoxOptions &o, const QString &v) { return readNumber(v, o.profile.mode, 2); }},
    Option{"script", "FILE", "The script in the box, at most 7153 bytes (default none).",
           [](BoxOptions &o, const QString &v) { return readScript(v, o.profile.script); }},
    Option{"boxes", "N", "So many boxes on one bus, 1 to 128; sysex ID and name count on.",
           [](BoxOptions &o, const QString &v) { return readNumber(v, o.boxes, 128, 1); }},
    Option{"usb", nullptr, "Be a USB device of this computer (Linux, module vhci-hcd, root).",
           [](BoxOptions &o, const QString &) { return o.usb = true; }},
    Option{"jack-names", nullptr, "With --usb: the device names its jacks.",
           [](BoxOptions &o, const QString &) { return o.jackNames = true; }},
    Option{"pace", "BYTES_PER_MS",
           "With --usb: so many bytes a millisecond each way, 0.01 to 1000000 (default unlimited).",
           [](BoxOptions &o, const QString &v) {
               o.bytesPerMs = parsePace(v);
               return o.bytesPerMs.has_value();
           }},
    Option{"exit-with-stdin", nullptr, "End when standard input ends.",
           [](BoxOptions &o, const QString &) { return o.exitWithStdin = true; }},
    Option{"help", nullptr, "Show this text.",
           [](BoxOptions &o, const QString &) { return o.help = true; }},

    Option{"version", "X.Y.Z", "Firmware version (default 1.1.1).",
           [](BoxOptions &o, const QString &v) { return readVersion(v, o.profile.version); }},
    Option{
        "updated-version", "X.Y.Z", "Firmware version after an update (default 1.1.1).",
        [](BoxOptions &o, const QString &v) { return readVersion(v, o.profile.updatedVersion); }},
    Option{"bootloader", nullptr, "Start in the bootloader.",
           [](BoxOptions &o, const QString &) { return o.profile.inBootloader = true; }},
    Option{
        "restart-ms", "MS", "Time off the bus when the firmware changes (default 1500).",
        [](BoxOptions &o, const QString &v) { return readMilliseconds(v, o.profile.restartTime); }},
    Option{"expect-firmware", "FILE", "The deciphered firmware that an update should bring.",
           [](BoxOptions &o, const QString &v) {
               return readFile(v, o.profile.expectedFirmware.emplace());
           }},

    Option{"mute", nullptr, "Fault: no reply to anything.", switchOn<&BoxFaults::mute>, true},
    Option{"slow", "MS", "Fault: so long before each reply.",
           [](BoxOptions &o, const QString &v) { return readMilliseconds(v, o.faults.slow); },
           true},
    Option{"flood", "N", "Fault: so many unrelated messages in front of each reply.",
           setCount<&BoxFaults::flood>, true},
    Option{"foreign-sysex-id", nullptr, "Fault: replies carry another box's sysex ID.",
           switchOn<&BoxFaults::foreignSysexId>, true},
    Option{"twice", nullptr, "Fault: each reply goes out twice.", switchOn<&BoxFaults::twice>,
           true},
    Option{"wrong-crc", "once|always",
           "Fault: data blocks with a wrong checksum; once: then the right one follows.",
           [](BoxOptions &o, const QString &v) { return readWrongCrc(v, o.faults.wrongCrc); },
           true},
    Option{"lying-length", nullptr, "Fault: data blocks say that they are longer than they are.",
           switchOn<&BoxFaults::lyingLength>, true},
    Option{"huge-frame", nullptr, "Fault: data blocks in frames of 20000 bytes.",
           switchOn<&BoxFaults::hugeFrame>, true},
    Option{"truncated-frame", nullptr, "Fault: data blocks lose their second half.",
           switchOn<&BoxFaults::truncatedFrame>, true},

    Option{"ignore-update-request", nullptr, "Fault: never enters the bootloader.",
           switchOn<&BoxFaults::ignoreUpdateRequest>, true},
    Option{"drop-block", "N", "Fault: throws firmware block N away once and asks for it again.",
           setCount<&BoxFaults::dropBlock>, true},
    Option{"repeat-request", "N", "Fault: asks for the first firmware block N times more.",
           setCount<&BoxFaults::repeatRequest>, true},
    Option{"ask-beyond-end", "N", "Fault: answers firmware block N by asking beyond the end, once.",
           setCount<&BoxFaults::askBeyondEnd>, true},
    Option{"silent-at", "N", "Fault: silent from firmware block N on, until a cancel; once.",
           setCount<&BoxFaults::silentAt>, true},
    Option{"unplug-at", "N", "Fault: unplugged when firmware block N arrives, once.",
           setCount<&BoxFaults::unplugAt>, true},
};

/// Knows all options, or those for faults only.
class Parser
{
public:
    explicit Parser(bool faultsOnly)
        : m_faultsOnly(faultsOnly)
    {
        m_parser.setApplicationDescription(
            "A simulated Ostrel on virtual MIDI ports or on USB. Says on standard output what it\n"
            "does, a line an event, and takes commands on standard input, one a line:\n"
            "  print TEXT       send a text message\n"
            "  lines N          send N text messages as fast as a box could\n"
            "  raw HEX          send these bytes\n"
            "  program CH N     send a program change (channel 0 to 15)\n"
            "  faults OPTIONS   replace all faults by these; without options a healthy box\n"
            "  state            say the version, the settings and the script again\n"
            "  unplug, plug     take the ports off the bus and put them back\n"
            "  stall, resume    with --usb: take nothing that is sent to the box, and take it "
            "again\n"
            "  pace N           with --usb: pass so many bytes a millisecond each way; without N\n"
            "                   as many as the computer likes\n"
            "  after MS COMMAND obey a command so many milliseconds from now\n"
            "  quit");
        for (const Option &option : Options) {
            if (isKnown(option))
                m_parser.addOption(QCommandLineOption(QString(option.name), QString(option.help),
                                                      QString(option.valueName)));
        }
    }

    [[nodiscard]] std::variant<BoxOptions, UsageError> parse(const QStringList &arguments)
    {
        if (!m_parser.parse(arguments))
            return UsageError{m_parser.errorText()};
        if (!m_parser.positionalArguments().isEmpty())
            return UsageError{"Unexpected argument '" + m_parser.positionalArguments().first() +
                              "'."};
        BoxOptions options;
        for (const Option &option : Options) {
            if (!isKnown(option) || !m_parser.isSet(option.name))
                continue;
            // The parser minds being asked for the value of a switch.
            const QString value = option.valueName ? m_parser.value(option.name) : QString();
            if (!option.apply(options, value))
                return UsageError{
                    QString("Bad value '%1' for option '%2'.").arg(value, option.name)};
        }
        return options;
    }

    [[nodiscard]] QString help() const { return m_parser.helpText(); }

private:
    [[nodiscard]] bool isKnown(const Option &option) const
    {
        return option.isFault || !m_faultsOnly;
    }

    QCommandLineParser m_parser;
    bool m_faultsOnly;
};

} // namespace

std::variant<BoxOptions, UsageError> parseOptions(const QStringList &arguments)
{
    auto result = Parser(false).parse(arguments);
    const auto *options = std::get_if<BoxOptions>(&result);
    if (options && options->profile.sysexId + options->boxes - 1 > midi::MaxSysexId)
        return UsageError{"More boxes than sysex IDs are left."};
    if (options && !options->usb && (options->jackNames || options->bytesPerMs))
        return UsageError{"Options 'jack-names' and 'pace' need option 'usb'."};
    return result;
}

std::variant<BoxFaults, UsageError> parseFaults(const QStringList &arguments)
{
    auto result = Parser(true).parse(QStringList{Program} + arguments);
    if (const auto *error = std::get_if<UsageError>(&result))
        return *error;
    return std::get<BoxOptions>(result).faults;
}

std::optional<double> parsePace(const QString &value)
{
    constexpr double Slowest = 0.01;
    constexpr double Fastest = 1'000'000;
    bool isNumber = false;
    const double bytesPerMs = value.toDouble(&isNumber);
    if (isNumber && bytesPerMs >= Slowest && bytesPerMs <= Fastest)
        return bytesPerMs;
    return std::nullopt; // and so for what counts as a number but is none
}

QString usageLine()
{
    return QString("Usage: %1 [options] (--help lists them)").arg(Program);
}

QString helpText()
{
    return Parser(false).help();
}

} // namespace simulator
