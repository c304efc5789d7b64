#include "OrvoVideo/ui/Wording.h"

#include <QDateTime>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace orvo::test {

namespace {

TEST(WordingTests, ShortensLongReports)
{
    const Wording wording;
    EXPECT_EQ(wording.cause("No hay sitio."), "No hay sitio.");
    EXPECT_EQ(wording.cause(QString(1'000, 'x')), QString(400, 'x') + "…");
}

TEST(WordingTests, NamesThisSystemWhereTheFixedTextsNameAnother)
{
    const Wording wording;
    EXPECT_EQ(wording.here("Permisos del Mac"), "Permisos del equipo");
    EXPECT_EQ(wording.here("La extensión necesita configurar su conexión al Mac: no hay permiso"),
        "La extensión necesita configurar su conexión al equipo: no hay permiso");
    EXPECT_EQ(wording.here("Permisos del Mac de Ana"), "Permisos del Mac de Ana");
}

TEST(WordingTests, FormatsDaysBriefly)
{
    const QDateTime now({2026, 3, 2}, {0, 30});
    const auto at = [](int year, int month, int day) { return QDateTime({year, month, day}, {23, 59}); };
    const std::vector<std::pair<QDateTime, QString>> cases = {
        {QDateTime({2026, 3, 2}, {0, 0}), "hoy"},
        {at(2026, 3, 1), "ayer"},
        {at(2026, 2, 28), "28 feb"},
        {at(2025, 12, 31), "31 dic 2025"},
        {at(2026, 3, 3), "3 mar"},
        {QDateTime(), ""},
    };
    for (const auto& [when, text] : cases)
        EXPECT_EQ(Wording::day(when, now), text) << when.toString().toStdString();
}

} // namespace

} // namespace orvo::test
