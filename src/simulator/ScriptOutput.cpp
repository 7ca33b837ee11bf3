#include "simulator/ScriptOutput.h"

#include <QByteArrayView>
#include <QRegularExpression>
#include <QString>

namespace simulator
{

std::vector<std::string> scriptOutput(midi::ByteView script)
{
    static const QRegularExpression print(R"(^print\((["'])([^"'\\\n]*)\1\)[ \t]*\r?$)",
                                          QRegularExpression::MultilineOption);
    const QString text =
        QString::fromLatin1(QByteArrayView(script.data(), static_cast<qsizetype>(script.size())));
    std::vector<std::string> lines;
    auto matches = print.globalMatch(text);
    while (matches.hasNext())
        lines.push_back(matches.next().captured(2).toLatin1().toStdString() + '\n');
    return lines;
}

} // namespace simulator
