#include "settings/SettingsTransfer.h"

#include "midi/QtRtMIDI.h"
#include "settings/SettingsT.h"

#include <QQmlContext>
#include <QQmlEngine>

namespace
{

QPointer<SettingsTransfer> &theInstance()
{
    static QPointer<SettingsTransfer> instance;
    return instance;
}

int blockType(midi::BlockType type)
{
    return midi::toByte(type);
}

} // namespace

SettingsTransfer::SettingsTransfer(QObject *parent)
    : QObject(parent)
{
    connect(&m_confirmation, &ScriptConfirmation::scriptDiffers, this,
            &SettingsTransfer::sentScriptDiffers);
    connect(&m_confirmation, &ScriptConfirmation::scriptNotConfirmed, this,
            &SettingsTransfer::sentScriptNotConfirmed);
}

void SettingsTransfer::registerSingleton(QQmlEngine *engine)
{
    if (!theInstance())
        theInstance() = new SettingsTransfer(engine);
    engine->rootContext()->setContextProperty(ContextName, theInstance());
}

SettingsTransfer *SettingsTransfer::instance()
{
    return theInstance();
}

QtRtMIDI *SettingsTransfer::midiObj() const
{
    return m_link;
}

void SettingsTransfer::setMidiObj(QtRtMIDI *link)
{
    if (m_link == link)
        return;
    if (m_link)
        m_link->disconnect(this);
    m_recordIsOfThisBox = false;
    m_link = link;
    m_confirmation.setLink(link);
    emit midiObjChanged();
    if (!m_link)
        return;
    connect(m_link, &QtRtMIDI::addresseeChanged, this, [this] { m_recordIsOfThisBox = false; });
    m_link->setSettingsTransferObj(this);
}

const SettingsT *SettingsTransfer::receiveGlobals()
{
    // The record is nothing but bytes, so the link's buffer can be read as one.
    static_assert(alignof(SettingsT) == 1);
    const uint8_t *record = m_link ? m_link->getGlobals() : nullptr;
    m_recordIsOfThisBox = record != nullptr;
    return reinterpret_cast<const SettingsT *>(record);
}

bool SettingsTransfer::sendGlobals(const SettingsT *globals)
{
    if (!m_link || !globals || !m_recordIsOfThisBox)
        return false;
    return m_link->sendSettingsBlock(blockType(midi::BlockType::Globals),
                                     reinterpret_cast<const uint8_t *>(globals), sizeof(SettingsT),
                                     false);
}

QVariant SettingsTransfer::receiveScript()
{
    m_confirmation.dropAnswers();
    return m_link ? m_link->getScript() : QVariant();
}

bool SettingsTransfer::sendScript(const QString &scriptStr)
{
    m_confirmation.cancel();
    if (!m_link)
        return false;
    const QByteArray text = scriptStr.toLatin1();
    if (!m_link->sendSettingsBlock(blockType(midi::BlockType::Script),
                                   reinterpret_cast<const uint8_t *>(text.constData()),
                                   static_cast<uint32_t>(text.size()), false))
        return false;
    m_confirmation.begin(text);
    return true;
}

bool SettingsTransfer::sendSettings()
{
    return false;
}
