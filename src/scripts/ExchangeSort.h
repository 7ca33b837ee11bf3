#pragma once

#include <QList>
#include <QString>

#include <vector>

/// The order in which the exchange sort leaves the names: element i of the result is the position
/// in `names` of what comes i-th. For each place it compares with every later one and swaps when
/// the earlier name is greater, case ignored; this decides how equal names are arranged, and users
/// know their libraries in that order.
[[nodiscard]] std::vector<int> exchangeSorted(const QList<QString> &names);
