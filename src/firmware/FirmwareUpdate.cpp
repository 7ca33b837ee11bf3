#include "firmware/FirmwareUpdate.h"

#include "firmware/ImageCipher.h"
#include "firmware/ImagePath.h"
#include "midi/protocol/UpdateMessages.h"

#include <QLoggingCategory>

#include <algorithm>
#include <string_view>

namespace
{

Q_LOGGING_CATEGORY(lcFirmware, "ostrel.firmware", QtInfoMsg)

QString imageErrorText(firmware::ImageError error)
{
    using firmware::ImageError;
    switch (error) {
    case ImageError::None:
        break;
    case ImageError::FileNotFound:
        return FirmwareUpdate::tr("Update file not found");
    case ImageError::HeaderUnreadable:
        return FirmwareUpdate::tr("Error reading header");
    case ImageError::WrongProduct:
        return FirmwareUpdate::tr("Incorrect file type for this product");
    case ImageError::OutOfMemory:
        return FirmwareUpdate::tr("Error allocating memory");
    case ImageError::DataUnreadable:
        return FirmwareUpdate::tr("Error reading data");
    case ImageError::CheckValueWrong:
        return FirmwareUpdate::tr("CRC error");
    }
    return {};
}

const FirmwareUpdate::DeviceFWInfo *findFirmware(const MidiDevice &device)
{
    const auto &known = FirmwareUpdate::s_deviceFWInfo;
    const auto found =
        std::ranges::find(known, device.productID(), &FirmwareUpdate::DeviceFWInfo::productID);
    return found == known.end() ? nullptr : &*found;
}

midi::FirmwareVersion versionOf(const MidiDevice &device)
{
    return {device.majorVersion(), device.minorVersion(), device.pointVersion()};
}

/// The share of `total` as documents show it; single precision is what they are given.
float fraction(quint32 part, quint32 total)
{
    return static_cast<float>(part) / static_cast<float>(total);
}

} // namespace

FirmwareUpdate::FirmwareUpdate(QObject *parent)
    : QObject(parent)
{
    connect(&m_timer, &QTimer::timeout, this, &FirmwareUpdate::timerDone);
}

void FirmwareUpdate::setMidiObj(QtRtMIDI *object)
{
    if (m_midi)
        disconnect(m_midi, &QtRtMIDI::midiMessageReceived, this, &FirmwareUpdate::midiMessageIn);
    m_midi = object;
    if (m_midi)
        connect(m_midi, &QtRtMIDI::midiMessageReceived, this, &FirmwareUpdate::midiMessageIn);
}

// The image

bool FirmwareUpdate::loadFile(const QString &url, unsigned char productID)
{
    const firmware::ImageError error = m_image.load(firmware::imagePath(url), productID);
    if (error == firmware::ImageError::None)
        return true;
    const QString text = imageErrorText(error);
    qCWarning(lcFirmware).noquote() << "image" << url << "refused:" << text;
    emit updateError(text);
    return false;
}

int FirmwareUpdate::calcFileCRC(unsigned char *data, unsigned int length)
{
    return static_cast<int>(firmware::imageCheckValue({data, length}));
}

QString FirmwareUpdate::fixDumbQtFilenameError(QString &path)
{
    return firmware::repairDrive(path);
}

bool FirmwareUpdate::isZEVDevice(const char *name)
{
    return name && *name != '\0' &&
           std::ranges::find(DEVICE_ID_NAME, std::string_view(name)) != DEVICE_ID_NAME.end();
}

bool FirmwareUpdate::checkReadyForUpdate() const
{
    return m_image.isLoaded() && m_device && fileHeader().productID == m_device->productID();
}

bool FirmwareUpdate::deviceNeedsUpdate()
{
    if (!m_device || m_device->sysexID() == midi::NoId)
        return false;
    const DeviceFWInfo *known = findFirmware(*m_device);
    if (!known)
        return false;
    const bool tooOld = versionOf(*m_device) < known->version;
    if (!tooOld && !m_device->versionIsBootloader())
        return false;
    qCInfo(lcFirmware).noquote() << "box has version" << m_device->versionString() << "and needs"
                                 << known->imageUrl;
    return loadFile(QString::fromLatin1(known->imageUrl), m_device->productID());
}

// The procedure, in the order in which it happens

void FirmwareUpdate::init()
{
    setState(State::Idle);
}

void FirmwareUpdate::startUpdate()
{
    if (m_state != State::Idle || !checkReadyForUpdate())
        return;
    qCInfo(lcFirmware).noquote() << "update starts: box has version" << m_device->versionString()
                                 << "image has" << fileHeader().dataLength << "bytes";
    m_duration.start();
    m_estimate.start(fileHeader().dataLength);
    emit transferChanged();
    if (m_midi)
        m_midi->flushInput();
    emit progressChanged(0.0F);
    if (m_device->versionIsBootloader())
        beginUpdate();
    else
        enterBootloader();
}

void FirmwareUpdate::enterBootloader()
{
    qCInfo(lcFirmware) << "asking the box to restart into its bootloader";
    if (m_midi)
        m_midi->sendUpdateReq();
    m_bootloaderTicks = BootloaderChecks;
    setState(State::EnteringBootloader);
    m_timer.start(BootloaderCheckMs);
    emit statusChanged(tr("Entering bootloader"));
}

void FirmwareUpdate::checkForBootloader()
{
    if (m_device && m_device->updateVersion() && m_device->versionIsBootloader()) {
        beginUpdate();
        return;
    }
    --m_bootloaderTicks;
    qCInfo(lcFirmware) << "no bootloader seen, checks left:" << m_bootloaderTicks;
    if (m_bootloaderTicks > 0)
        m_timer.start(BootloaderCheckMs);
    else
        endUpdate(); // without a word: the user sees that nothing goes on, and cancels
}

void FirmwareUpdate::beginUpdate()
{
    qCInfo(lcFirmware) << "box is in its bootloader, transfer begins";
    // A tick left over from an earlier step must not end a transfer that waits for the user.
    m_timer.stop();
    m_position = 0;
    m_positionRequests = 0;
    m_transferTime.start();
    setState(State::Updating);
    if (m_midi)
        m_midi->flushInput();
    emit statusChanged(tr("Waiting for device to be ready"));
    sendNextBlock();
}

bool FirmwareUpdate::sendNextBlock()
{
    if (m_state != State::Updating)
        return false; // whoever was told about the step before has ended the update
    const midi::ByteView payload = m_image.payload();
    const quint32 length = std::min(fileHeader().dataLength - m_position, midi::UpdateBlockSize);
    // The header may be that of a file which was refused, and promise more than there is.
    const bool inPayload = m_position <= payload.size() && length <= payload.size() - m_position;
    if (!inPayload || !m_midi ||
        !m_midi->sendUpdateData(m_position, length, payload.data() + m_position)) {
        qCWarning(lcFirmware) << "block at" << m_position << "could not be sent";
        emit updateError(tr("Error sending data"));
        return false;
    }
    qCDebug(lcFirmware) << "block at" << m_position << "sent," << length << "bytes";
    m_timer.start(AnswerTimeoutMs);
    return true;
}

void FirmwareUpdate::midiMessageIn(std::vector<uint8_t> msg)
{
    if (m_state != State::Updating || !m_midi || !m_midi->isZEVUpdateResponse(msg))
        return;
    m_timer.stop();
    const midi::UpdateResponse response = midi::readUpdateResponse(msg).value();
    if (response.status == midi::UpdateAccepted)
        blockAccepted();
    else
        positionRequested(response.position);
}

void FirmwareUpdate::blockAccepted()
{
    m_position += midi::UpdateBlockSize;
    if (m_position >= fileHeader().dataLength) {
        completeUpdate();
        return;
    }
    reportPosition();
    sendNextBlock();
    emit statusChanged(tr("Update in progress"));
}

void FirmwareUpdate::positionRequested(quint32 position)
{
    ++m_positionRequests;
    qCInfo(lcFirmware) << "box asks for position" << position << "- request" << m_positionRequests;
    if (m_positionRequests > MaxPositionRequests) {
        sendCancel();
        qCWarning(lcFirmware) << "too many requests for a position";
        emit updateError(tr("Update timed out."));
        return;
    }
    m_position = position;
    if (m_position >= fileHeader().dataLength) {
        sendCancel();
        qCWarning(lcFirmware) << "the position lies beyond the end of the image";
        emit updateError(tr("Bad update position request."));
        return;
    }
    reportPosition();
    sendNextBlock();
}

void FirmwareUpdate::completeUpdate()
{
    const firmware::ImageHeader header = fileHeader();
    if (m_midi)
        m_midi->sendUpdateDone(header.dataLength, header.doneParam1, header.doneParam2);
    qCInfo(lcFirmware) << "all" << header.dataLength << "bytes accepted";
    m_estimate.moveTo(header.dataLength, std::chrono::milliseconds(m_transferTime.elapsed()));
    endUpdate();
    emit progressChanged(ProgressDone);
    emit updateCompleted();
    emit statusChanged(tr("Update complete"));
}

void FirmwareUpdate::endUpdate()
{
    qCInfo(lcFirmware) << "update ends after" << m_duration.elapsed() << "ms";
    m_timer.stop();
    m_position = 0;
    setState(State::Finishing);
    m_timer.start(SettlingMs);
}

void FirmwareUpdate::settle()
{
    if (m_device && m_device->updateVersion())
        qCInfo(lcFirmware).noquote() << "box now has version" << m_device->versionString();
    else
        qCInfo(lcFirmware) << "box does not answer yet";
    setState(State::Idle);
}

void FirmwareUpdate::cancelUpdate()
{
    if (!transferActive())
        return;
    qCInfo(lcFirmware) << "update cancelled";
    endUpdate();
    sendCancel();
}

void FirmwareUpdate::timerDone()
{
    switch (m_state) {
    case State::Idle:
        break;
    case State::EnteringBootloader:
        checkForBootloader();
        break;
    case State::Updating:
        qCWarning(lcFirmware) << "no answer to the block at" << m_position;
        sendCancel();
        emit updateError(tr("Update timed out"));
        endUpdate();
        break;
    case State::Finishing:
        settle();
        break;
    }
}

// What the steps share

bool FirmwareUpdate::transferActive() const
{
    return m_state == State::EnteringBootloader || m_state == State::Updating;
}

void FirmwareUpdate::setState(State state)
{
    const bool wasActive = transferActive();
    m_state = state;
    if (transferActive() == wasActive)
        return;
    if (wasActive) {
        m_estimate.stop();
        emit transferChanged();
    }
    emit transferActiveChanged();
}

void FirmwareUpdate::reportPosition()
{
    m_estimate.moveTo(m_position, std::chrono::milliseconds(m_transferTime.elapsed()));
    emit transferChanged();
    emit progressChanged(fraction(m_position, fileHeader().dataLength));
}

void FirmwareUpdate::sendCancel()
{
    if (m_midi)
        m_midi->sendUpdateCancel();
}
