#pragma once

#include <QtTest/QtTest>

#include <tuple>
#include <utility>
#include <vector>

namespace Rows
{

/// The names of the columns of the data that were declared last.
inline std::vector<const char *> &names()
{
    static std::vector<const char *> list;
    return list;
}

template<class... Types, size_t... Places>
std::tuple<Types...> fetch(std::index_sequence<Places...>)
{
    return {*static_cast<Types *>(
        QTest::qData(names()[Places], qMetaTypeId<std::decay_t<Types>>()))...};
}

/// Adds a row by its name and the values of its columns.
template<class... Types>
struct Adder {
    void operator()(const char *name, const Types &...values) const
    {
        (QTest::newRow(name) << ... << values);
    }
};

} // namespace Rows

/// The columns of a data-driven test, for its _data() function. The names are literals. What it
/// returns adds the rows.
template<class... Types, class... Names>
Rows::Adder<Types...> columns(Names... names)
{
    static_assert(sizeof...(Types) == sizeof...(Names), "each column has a type and a name");
    Rows::names() = {names...};
    (QTest::addColumn<Types>(names), ...);
    return {};
}

/// A row of a data-driven test: its name, and a value a column.
template<class... Values>
void addRow(const char *name, const Values &...values)
{
    QTestData &data = QTest::newRow(name);
    (data << ... << values);
}

/// The values of the current row in the order of its columns, for a structured binding.
template<class... Types>
std::tuple<Types...> row()
{
    return Rows::fetch<Types...>(std::index_sequence_for<Types...>());
}
