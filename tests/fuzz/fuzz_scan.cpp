#include "devices/ConnectedDeviceListModel.h"
#include "devices/MidiDevice.h"
#include "devices/ProductTable.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/Require.h"
#include "midi/QtRtMIDI.h"
#include "support/FakeRtMidi.h"

#include <QTemporaryDir>

#include <algorithm>
#include <cstring>
#include <set>

using fuzz::require;
using midi::ByteMessage;

// The number of ports, whether they are named and whether only the Ostrel counts; then scans: for
// each port the replies to an identity request, then those to the name requests.

namespace
{

constexpr int MaxScans = 3;
constexpr unsigned MaxPorts = 3;
constexpr unsigned MaxReplies = 25; ///< more than a scan takes from one port

using Messages = std::vector<ByteMessage>;

struct Port
{
    Messages onIdentityRequest;
    Messages onNameRequest;
};

Messages takeMessages(fuzz::Input &input)
{
    Messages messages(input.takeByte() % MaxReplies);
    std::ranges::generate(messages, [&] { return input.takeMessage(); });
    return messages;
}

/// The ports, and what any box on them has said.
class World
{
public:
    explicit World(unsigned ports)
        : m_ports(ports)
    {
        FakeRtMidi::world().reset();
        for (unsigned i = 0; i < ports; ++i)
            m_names.push_back("Port " + std::to_string(i));
        FakeRtMidi::world().inputs = m_names;
        FakeRtMidi::world().outputs = m_names;
        FakeRtMidi::world().onSend = [this](const FakeRtMidi::Sent &sent) { answer(sent); };
    }
    Q_DISABLE_COPY_MOVE(World)
    ~World() { FakeRtMidi::world().reset(); }

    void takeReplies(fuzz::Input &input)
    {
        for (Port &port : m_ports)
            port = {takeMessages(input), takeMessages(input)};
    }

    [[nodiscard]] bool hasSaid(const MidiDevice &device) const
    {
        return std::ranges::any_of(m_said, [&](const ByteMessage &message) {
            if (!midi::isIdentityReply(message))
                return false;
            const auto [product, id, version] = midi::readIdentity(message);
            return product == device.productID() && id == device.sysexID() &&
                   version == midi::FirmwareVersion{device.majorVersion(), device.minorVersion(),
                                                    device.pointVersion()};
        });
    }

private:
    void answer(const FakeRtMidi::Sent &sent)
    {
        const auto at = std::ranges::find(m_names, sent.port) - m_names.begin();
        const Port &port = m_ports.at(static_cast<std::size_t>(at));
        const bool asksWho = sent.bytes == midi::identityRequest();
        for (const ByteMessage &reply : asksWho ? port.onIdentityRequest : port.onNameRequest) {
            m_said.insert(reply);
            FakeRtMidi::world().receive(reply);
        }
    }

    std::vector<Port> m_ports;
    std::vector<std::string> m_names;
    std::set<ByteMessage> m_said;
};

class Scan
{
public:
    Scan(const World &world, bool namedPorts, bool onlyOstrel)
        : m_world(world)
    {
        m_model.setMidiObj(&m_link);
        if (namedPorts) {
            m_model.setInputPortName("Port 0");
            m_model.setOutputPortName("Port 0");
        }
        if (onlyOstrel)
            m_model.addProductIDToList(midi::OstrelProductId);
        QObject::connect(&m_model, &ConnectedDeviceListModel::deviceIsConnected,
                         [this](int device) { m_announced = device; });
    }

    void run()
    {
        const int connected = m_model.scanForDevice();
        checkRows(connected);
        checkConnection(connected);
        checkDevices();
        if (MidiDevice *device = m_model.currentDevice())
            static_cast<void>(device->updateVersion());
        checkDevices();
        // The replies to a question about names answer these as well.
        const std::uint8_t *record = m_link.getGlobals();
        require(!record || std::vector(record, record + 256).size() == 256, "a whole record");
        static_cast<void>(m_link.getScript());
    }

private:
    [[nodiscard]] int reference(int row) const
    {
        return m_model.data(m_model.index(row), ConnectedDeviceListModel::ValueRole).toInt();
    }

    void checkRows(int connected) const
    {
        std::set<int> references;
        for (int row = 1; row < m_model.rowCount(); ++row) {
            references.insert(reference(row));
            require(m_model.isAcceptableProductID(midi::referencedProductId(reference(row))),
                    "acceptable products only");
        }
        require(reference(0) == -1, "the first row asks for a scan");
        require(connected == midi::NoDeviceReference || references.contains(connected),
                "what is connected is listed");
        require(m_model.rowCount() != 2 || connected == reference(1), "a single device is taken");
    }

    void checkConnection(int connected) const
    {
        const MidiDevice *device = m_model.currentDevice();
        const bool some = connected != midi::NoDeviceReference;
        require(m_model.deviceConnected() == some, "the property tells the same");
        require((device != nullptr) == some, "a record for the connected device");
        require((m_announced != -1) == some, "the signal tells the same");
        require(!device ||
                    connected == midi::deviceReference(device->productID(), device->sysexID()),
                "the record of the connected device");
        require(m_link.portsReady() == some, "the link is open to the connected device");
    }

    void checkDevices() const
    {
        for (const auto *device : m_model.findChildren<MidiDevice *>()) {
            require(m_world.hasSaid(*device), "a device is what some box said");
            require(device->productID() < 128 && device->sysexID() < 128, "IDs of seven bits");
            require(std::strlen(device->displayName()) < MidiDevice::NameSize, "a name that fits");
            require(std::strlen(device->menuName()) < MidiDevice::NameSize,
                    "a menu name that fits");
        }
    }

    const World &m_world;
    QtRtMIDI m_link;
    ConnectedDeviceListModel m_model;
    int m_announced = -1;
};

} // namespace

/// The device to connect to is remembered between runs; here nothing is to be.
extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    static const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    const unsigned setup = input.takeByte();
    World world(setup % (MaxPorts + 1));
    Scan scan(world, (setup & 0x10U) != 0, (setup & 0x20U) != 0);
    for (int scans = 0; scans < MaxScans; ++scans) {
        world.takeReplies(input);
        scan.run();
    }
    return 0;
}
