#pragma once

#include "midi/backend/Backend.h"
#include "midi/MessageInbox.h"
#include "midi/ProtocolInterface.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QPointer>
#include <QVariant>

/// The one object through which the editor reaches MIDI: finds pairs of ports, opens one pair at a
/// time, sends and receives whole messages, and asks a box for what it holds. Received messages are
/// either pushed (callback mode: as signals) or pulled with receiveMessage() (polling mode).
/// Belongs to the GUI thread; only midiMessageReceived() and textMessageReceived() are emitted on a
/// thread of the MIDI library: receivers are called queued. The first use of ports opens the MIDI
/// service. Nothing throws. What fails returns false or nothing and keeps a text for
/// getErrorMessage().
class QtRtMIDI : public QObject, public midi::ProtocolInterface
{
    Q_OBJECT
    Q_PROPERTY(QObject *settingsTransferObj READ settingsTransferObj WRITE setSettingsTransferObj
                   NOTIFY settingsTransferObjChanged FINAL)

public:
    explicit QtRtMIDI(QObject *parent = nullptr);
    ~QtRtMIDI() override;
    static bool init() { return true; } ///< there is nothing to prepare
    /// Rebuilds the list of port pairs and emits portListChanged() once. With two names: the pair
    /// of ports so called, or every such pair. With a null name: every input with its output.
    void scanPorts(const char *inName, const char *outName, bool every = false);
    /// Lists both: first the pair of the last scan by names, then every input with its output.
    void scanAllPorts();
    [[nodiscard]] int portCount() const { return static_cast<int>(m_pairs.size()); }
    /// The input's name as the library reports it now, "" without one. Valid until the next call.
    [[nodiscard]] const char *portName(unsigned index);
    /// A copy that stays valid across rescans, with empty names where there is no such pair.
    [[nodiscard]] midi::PortPair pair(unsigned index) const;
    /// Closes what is open and opens pair `index` of the last scan.
    [[nodiscard]] bool selectPort(unsigned index);
    /// Whether pair `index` is open and was opened after the last scan.
    [[nodiscard]] bool isSelected(unsigned i) const { return m_selected == i && portsReady(); }
    void closePort();
    [[nodiscard]] bool portsReady() const { return m_openPair && !m_backend->isGone(); }
    [[nodiscard]] midi::PortNames portNames();
    [[nodiscard]] bool hasService() const { return m_backend && !m_backend->isGone(); }
    /// Whether the open pair stands among `names`.
    [[nodiscard]] bool isOpenAmong(const midi::PortNames &names) const;

    /// True: received messages become signals. False: they wait for receiveMessage().
    void setCallbackMode(bool enabled);
    /// Takes a message that waits. False, at once, when there is none.
    [[nodiscard]] bool receiveMessage(Message &message);
    /// Discards the messages that wait in polling mode, but shows the texts among them.
    void flushInput();
    /// Returns once the box has made room for the whole message, or false.
    bool sendMessage(const Message &message);
    bool sendSysex(const uint8_t *bytes, uint32_t length);
    bool pgmChange(uint8_t channel, uint8_t program);
    /// Counts the bytes that moved between system and box; 0 where the system does not tell.
    [[nodiscard]] std::uint64_t movedBytes() const;

    /// 0 to 127: byte 4 of what is sent and of the answers that count.
    void setSysexID(uint8_t id);
    [[nodiscard]] QObject *settingsTransferObj() const { return m_settingsTransfer; }
    void setSettingsTransferObj(QObject *object);
    [[nodiscard]] const char *getErrorMessage() const { return m_error.c_str(); } ///< the last one
    void emitIncomingDataSignal(const Message &message) { emit midiMessageReceived(message); }
    void emitMessageSignal(const QString &text) { emit textMessageReceived(text); }

    // True once handed to the library. The answers come as any other message.
    bool sendIDReq() { return sendMessage(midi::identityRequest()); }
    bool sendNameReq(uint8_t id) { return sendMessage(midi::nameRequest(id)); }
    bool sendGlobalsReq() { return sendReadReq(midi::BlockType::Globals); }
    bool sendScriptReq() { return sendReadReq(midi::BlockType::Script); }
    /// False, with nothing sent, when `data` does not fit in one frame (more than 7153 bytes).
    /// `flag` selects the alternate write command.
    bool sendSettingsBlock(int blockType, const uint8_t *data, uint32_t length, bool flag);

    // Each blocks until the answer is there, or nothing came for 100 ms (settings) or 500 ms
    // (scripts), as far as the system tells. They leave the link in callback mode.
    /// The 256-byte settings record, valid until the next transfer; null without an answer.
    [[nodiscard]] const uint8_t *getGlobals();
    /// The script as a string, or an invalid variant when the box did not answer.
    [[nodiscard]] QVariant getScript();
    /// Waits for the answers to `count` earlier calls of sendScriptReq() and drops them.
    void dropScriptAnswers(int count);

    bool sendUpdateReq() { return sendMessage(midi::updateRequest(m_sysexId)); }
    /// 1 to 512 bytes, and their offset in the payload.
    bool sendUpdateData(uint32_t position, uint32_t length, const uint8_t *data);
    bool sendUpdateDone(uint32_t length, uint8_t doneParam1, uint8_t doneParam2);
    bool sendUpdateCancel() { return sendMessage(midi::updateCancel(m_sysexId)); }

signals:
    void midiMessageReceived(std::vector<uint8_t> message);
    void portListChanged();
    void addresseeChanged(); ///< other ports are open than before, or none, or the ID is another
    void settingsTransferObjChanged();
    void textMessageReceived(QString text);

private:
    Q_INVOKABLE void receive(const std::vector<uint8_t> &message);
    void showText(const Message &message);
    [[nodiscard]] midi::Backend *backend();
    void listPairs(std::size_t named, bool equal);
    bool succeeded(const midi::ErrorText &error);
    bool sendReadReq(midi::BlockType type);
    [[nodiscard]] bool readBlock(midi::BlockType type);
    [[nodiscard]] bool awaitBlock(midi::BlockType type);
    const std::shared_ptr<midi::MessageInbox> m_inbox;
    std::unique_ptr<midi::Backend> m_backend; ///< null before the first use and without a service
    QDeadlineTimer m_nextAttempt;             ///< to find a service, which costs time
    QPointer<QObject> m_settingsTransfer;
    std::vector<midi::PortPair> m_pairs;
    std::optional<midi::PortPair> m_openPair;
    std::optional<unsigned> m_selected; ///< the open pair's place in m_pairs
    std::string m_portName, m_error, m_namedInput, m_namedOutput; ///< two of the last named scan
    Message m_block; ///< the payload that was read last
};
