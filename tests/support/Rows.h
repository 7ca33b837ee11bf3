#pragma once

#include <QTest>

#include <tuple>

namespace testsupport
{

/// The table of a data-driven test, made in its `_data` function and called once for each row.
template <typename... Values>
class Rows
{
public:
    Rows() { QTest::addColumn<std::tuple<Values...>>("row"); }

    void operator()(const char *name, const Values &...values) const
    {
        QTest::newRow(name) << std::tuple<Values...>(values...);
    }
};

/// The values of the row that the test is run with, for a structured binding.
template <typename... Values>
std::tuple<Values...> row()
{
    using Row = std::tuple<Values...>;
    return *static_cast<const Row *>(QTest::qData("row", qMetaTypeId<Row>()));
}

} // namespace testsupport
