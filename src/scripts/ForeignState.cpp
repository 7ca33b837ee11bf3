#include "scripts/ForeignState.h"

#include <algorithm>

namespace scripts
{
namespace
{

/// How many characters at both ends two texts have in common.
qsizetype commonLength(const QString &a, const QString &b)
{
    const auto [endOfStart, unused] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    const qsizetype start = endOfStart - a.begin();
    const qsizetype longest = std::min(a.size(), b.size()) - start;
    const auto [startOfEnd, ignored] =
        std::mismatch(a.rbegin(), a.rbegin() + longest, b.rbegin(), b.rbegin() + longest);
    return start + (startOfEnd - a.rbegin());
}

const Script *findNamed(const QList<Script> &list, const QString &name)
{
    const auto found =
        std::ranges::find_if(list, [&](const Script &script) { return script.name == name; });
    return found == list.end() ? nullptr : &*found;
}

} // namespace

bool continues(const QList<Script> &earlier, const QList<Script> &later, const QList<Script> &own)
{
    return std::ranges::all_of(earlier, [&](const Script &script) {
        if (later.contains(script) || own.contains(script))
            return true;
        const Script *const edited = findNamed(later, script.name);
        if (!edited)
            return false;
        const Script *const ours = findNamed(own, script.name);
        return !ours ||
               commonLength(edited->text, script.text) > commonLength(edited->text, ours->text);
    });
}

} // namespace scripts
