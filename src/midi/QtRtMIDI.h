#pragma once

#include "midi/DataBlockFrame.h"
#include "midi/MidiService.h"

#include <QObject>
#include <QVariant>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class SettingsTransfer;
Q_DECLARE_OPAQUE_POINTER(SettingsTransfer *) // known here by name only: settings build on MIDI

/// The one object through which the editor reaches MIDI: finds pairs of ports, opens one pair at a
/// time, sends and receives whole messages, and asks a box for what it holds. Received messages are
/// either pushed (callback mode: as signals) or pulled with receiveMessage() (polling mode).
///
/// Declared by the main window, lives on the GUI thread, and all its functions belong there, except
/// the receive callback, which the MIDI library calls on a thread of its own and which emits
/// midiMessageReceived() and textMessageReceived() from there: receivers are called queued.
/// Without a MIDI service the object exists without ports; one that ends takes the ports with it,
/// and one that comes up is found by scanPorts() and portNames(). The first use of ports makes the
/// MIDI library's clients. Nothing here throws. Operations that fail return false or nothing and
/// keep the library's text for getErrorMessage().
class QtRtMIDI : public QObject
{
    Q_OBJECT
    Q_PROPERTY(SettingsTransfer *settingsTransferObj READ settingsTransferObj WRITE
                   setSettingsTransferObj NOTIFY settingsTransferObjChanged FINAL)

public:
    static constexpr std::uint8_t NoSysexID = 0xFF; ///< equals no 7-bit ID

    explicit QtRtMIDI(QObject *parent = nullptr);
    ~QtRtMIDI() override;

    /// Kept for callers of the interface; there is nothing to prepare. Always true.
    static bool init();

    // Ports

    /// Rebuilds the list of port pairs and emits portListChanged() once. With two names: the one
    /// pair of ports so called, if both exist. With a null name: every input with its output.
    void scanPorts(const char *inName, const char *outName);
    /// The same for both: first the pair of the last scan by names, if it is there, then every
    /// input with its output. To look for a box wherever it may be.
    void scanAllPorts();
    [[nodiscard]] int portCount() const;
    /// The input's name as the library reports it now, "" where there is none. Valid until the
    /// next call.
    [[nodiscard]] const char *portName(unsigned index);
    /// By what the input of pair `index` is known in any list of the same ports, "" where there is
    /// no such pair.
    [[nodiscard]] std::string pairName(unsigned index) const;
    /// Closes what is open and opens pair `index` of the last scan. Does not touch the receive
    /// mode.
    [[nodiscard]] bool selectPort(unsigned index);
    /// Whether pair `index` is open and was opened after the last scan.
    [[nodiscard]] bool isSelected(unsigned index) const;
    void closePort();
    [[nodiscard]] bool portsReady() const;
    /// What ports of others there are now, by their lasting names. Cheap enough to be asked all the
    /// time.
    [[nodiscard]] midi::PortNames portNames();
    /// Whether the pair that is open stands among `names`.
    [[nodiscard]] bool isOpenAmong(const midi::PortNames &names) const;

    // Messages

    /// True: received messages become signals. False: they wait for receiveMessage().
    void setCallbackMode(bool enabled);
    /// Takes one waiting message, without waiting for one. False when there is none.
    [[nodiscard]] bool receiveMessage(std::vector<uint8_t> &message);
    /// Discards all waiting messages. Only of use in polling mode.
    void flushInput();
    /// Returns once the whole message was handed over, which takes as long as a slow box takes to
    /// make room for it. False when it was not: the port is closed, the MIDI library refused, or
    /// the box took nothing for a second.
    bool sendMessage(const std::vector<uint8_t> &message);
    bool sendSysex(const uint8_t *bytes, uint32_t length);
    bool pgmChange(uint8_t channel, uint8_t program);
    /// Counts the bytes that moved between the system and the box; 0 where the system does not
    /// tell.
    [[nodiscard]] std::uint64_t movedBytes() const;

    /// The box addressed, 0 to 127: byte 4 of what is sent and of the answers that count.
    void setSysexID(uint8_t id);
    void setAltSysexID(uint8_t id) { m_altSysexId = id; }
    [[nodiscard]] SettingsTransfer *settingsTransferObj() const { return m_settingsTransfer; }
    void setSettingsTransferObj(SettingsTransfer *object);
    /// The last error text of the MIDI library; never cleared.
    [[nodiscard]] const char *getErrorMessage();

    void emitIncomingDataSignal(const std::vector<uint8_t> &message);
    void emitMessageSignal(const QString &text);

    // Requests: true once handed to the library. The answers come as any other message.

    bool sendIDReq();
    bool sendNameReq(uint8_t id);
    bool sendGlobalsReq();
    bool sendScriptReq();

    // Transfers: each blocks until the answer is there or patience is at an end, which is when
    // nothing came for 100 ms (settings) or 500 ms (scripts). Where the system tells that bytes of
    // the answer are still on their way, the wait goes on, for some seconds at most. Texts that
    // arrive meanwhile are pushed. They leave the connection in callback mode. A corrupt answer
    // does not end the wait.

    /// The 256-byte settings record, inside the transfer buffer and valid until the next transfer;
    /// null when the box did not answer. A shorter record leaves the rest as the buffer holds it.
    [[nodiscard]] const uint8_t *getGlobals();
    /// The script as a string, or an invalid variant when the box did not answer.
    [[nodiscard]] QVariant getScript();
    /// Waits for the answers to `count` earlier calls of sendScriptReq() and drops them.
    void dropScriptAnswers(int count);
    /// Sends one block without waiting for anything. False, with nothing sent, when `data` does not
    /// fit in one frame (more than 7153 bytes). `flag` selects the alternate write command.
    bool sendSettingsBlock(int blockType, const uint8_t *data, uint32_t length, bool flag);

    // Firmware update

    bool sendUpdateReq();
    /// `data` holds `length` (1 to 512) payload bytes, `position` is their offset in the payload.
    bool sendUpdateData(uint32_t position, uint32_t length, const uint8_t *data);
    bool sendUpdateDone(uint32_t length, uint8_t doneParam1, uint8_t doneParam2);
    bool sendUpdateCancel();

    // Recognising messages; the last six compare with the current sysex ID.

    [[nodiscard]] static bool isZEVSysexMsg(const std::vector<uint8_t> &msg);
    [[nodiscard]] static bool isPgmChange(const std::vector<uint8_t> &msg);
    [[nodiscard]] bool isOurZEVSysexMsg(const std::vector<uint8_t> &msg) const;
    [[nodiscard]] bool isZEVGlobals(const std::vector<uint8_t> &msg) const;
    [[nodiscard]] bool isZEVScriptData(const std::vector<uint8_t> &msg) const;
    [[nodiscard]] bool isZEVSysexAck(const std::vector<uint8_t> &msg) const;
    [[nodiscard]] bool isZEVSysexData(const std::vector<uint8_t> &msg) const;
    [[nodiscard]] bool isZEVUpdateResponse(const std::vector<uint8_t> &msg) const;

    // Encodings: the functions of this folder under the names of this interface. Capacities are
    // bytes on entry and the number of bytes written on return.

    /// The table is a compile-time constant, so there is nothing left to fill.
    static void genCRCTable() {}
    [[nodiscard]] static uint32_t calcCRC(const uint8_t *data, uint32_t length, uint32_t initial);
    static bool encodeMCoded7(const uint8_t *input, uint32_t length, uint8_t *output,
                              uint32_t &capacity);
    static uint32_t decodeMCoded7(uint8_t *buffer, uint32_t length);
    static bool encodeBlock(const uint8_t *input, uint32_t length, std::vector<uint8_t> &output);
    static bool decodeBlock(const uint8_t *input, uint32_t length, uint8_t *output,
                            uint32_t &capacity);
    [[nodiscard]] static uint16_t convert16To14Bit(uint16_t value);
    [[nodiscard]] static uint16_t convert14To16Bit(uint16_t packed);
    [[nodiscard]] static uint32_t convert32To28Bit(uint32_t value);
    [[nodiscard]] static uint32_t convert28To32Bit(uint32_t packed);
    static void convertToVector(std::vector<uint8_t> &message, const uint8_t *bytes,
                                uint32_t length);
    void prependDataHeader(std::vector<uint8_t> &message) const;

signals:
    void midiMessageReceived(std::vector<uint8_t> message);
    void portListChanged();
    /// Other ports are open than before, or none, or another sysex ID is addressed.
    void addresseeChanged();
    void settingsTransferObjChanged();
    void textMessageReceived(QString text);

private:
    struct Pair
    {
        midi::ListedPort input;
        midi::ListedPort output;
    };

    static void receiveCB(double timeStamp, std::vector<uint8_t> *message, void *userData);
    bool succeeded(std::string &&error);
    void listPairs(bool named, bool equal);
    [[nodiscard]] std::optional<std::size_t> readBlock(midi::BlockType type);
    [[nodiscard]] std::optional<std::size_t> awaitBlock(midi::BlockType type);
    void pushText(std::vector<uint8_t> &message);

    const std::shared_ptr<midi::MessageInbox> m_inbox;
    midi::MidiService m_service; ///< delivers to the inbox
    SettingsTransfer *m_settingsTransfer = nullptr;
    std::string m_namedInput; ///< of the last scan by names
    std::string m_namedOutput;
    std::vector<Pair> m_pairs;
    std::optional<Pair> m_openPair;
    std::optional<unsigned> m_selected; ///< the open pair's place in m_pairs
    std::string m_portName;
    std::string m_error;
    uint8_t m_sysexId = 0;
    uint8_t m_altSysexId = NoSysexID;
    std::array<uint8_t, midi::MaxFrameLength> m_transferBuffer{};
};
