#include "OrvoVideo/settings/SpeechModelList.h"

#include "OrvoVideo/transcription/SpeechModels.h"

#include <QLocale>
#include <cmath>

namespace orvo {

namespace {

QString sizeText(const SpeechModel& model)
{
    return QStringLiteral("%1 MB").arg((model.size + 500'000) / 1'000'000);
}

} // namespace

SpeechModelList::SpeechModelList(QObject* parent)
    : QAbstractListModel(parent)
{
    refresh();
    readRates();
}

SpeechModelList::~SpeechModelList()
{
    m_workers.shutDown();
}

void SpeechModelList::refresh()
{
    std::vector<bool> installed;
    for (const auto& model : SpeechModels::catalogue())
        installed.push_back(SpeechModels::installed(model.name).has_value());
    if (installed == m_installed)
        return;
    const bool first = m_installed.empty();
    m_installed = std::move(installed);
    if (!first)
        emit dataChanged(index(0), index(rowCount() - 1), {TextRole, InstalledRole, DownloadRole});
}

void SpeechModelList::measure()
{
    if (!m_measuring)
        runMeasure();
}

QCoro::Task<> SpeechModelList::runMeasure()
{
    refresh();
    const auto models = SpeechModels::catalogue();
    std::size_t row = models.size();
    while (row > 0 && !m_installed[row - 1])
        --row;
    if (row == 0 || m_rates[row - 1].isMeasured)
        co_return;
    m_measuring = true;
    emit measuringChanged();
    try {
        co_await m_workers.run(
            [model = models[row - 1]](const std::stop_token& stop) { SpeechSpeed::measure(model, stop); });
    } catch (const Cancelled&) {
        co_return; // Being destroyed.
    } catch (const std::exception&) {
        // A damaged model is reported when it is used; the estimate stays.
    }
    m_measuring = false;
    readRates();
    emit measuringChanged();
}

void SpeechModelList::readRates()
{
    m_rates.clear();
    for (const auto& model : SpeechModels::catalogue())
        m_rates.push_back(SpeechSpeed::rate(model));
    emit dataChanged(index(0), index(static_cast<int>(m_rates.size()) - 1), {CostRole});
    emit ratesChanged();
}

QString SpeechModelList::proposed() const
{
    return QString::fromStdString(SpeechSpeed::best().name);
}

int SpeechModelList::rowOf(const QString& name) const
{
    const auto models = SpeechModels::catalogue();
    for (std::size_t row = 0; row < models.size(); ++row) {
        if (models[row].name == name.toStdString())
            return static_cast<int>(row);
    }
    return -1;
}

/// Rounded for reading.
QString SpeechModelList::costText(std::size_t row) const
{
    const double minutes = 60 * m_rates[row].value;
    if (minutes < 1)
        return QStringLiteral("1 h de voz: menos de 1 min");
    QString time = QStringLiteral("%1 min").arg(std::lround(minutes));
    if (minutes >= 90)
        time = QStringLiteral("%1 h").arg(QLocale().toString(std::round(minutes / 30) / 2));
    else if (minutes >= 10)
        time = QStringLiteral("%1 min").arg(std::lround(minutes / 5) * 5);
    return QStringLiteral("1 h de voz: %1%2").arg(m_rates[row].isMeasured ? QString() : QStringLiteral("unos "), time);
}

int SpeechModelList::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(SpeechModels::catalogue().size());
}

QVariant SpeechModelList::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const auto row = static_cast<std::size_t>(index.row());
    const SpeechModel& model = SpeechModels::catalogue()[row];
    switch (role) {
    case NameRole:
        return QString::fromStdString(model.name);
    case Qt::DisplayRole:
    case TextRole:
        return QStringLiteral("%1 · %2%3")
            .arg(QString::fromStdString(model.description), sizeText(model),
                m_installed[row] ? QString() : QStringLiteral(" · se descargará"));
    case InstalledRole:
        return bool(m_installed[row]);
    case DescriptionRole:
        return QString::fromStdString(model.description);
    case CostRole:
        return costText(row);
    case DownloadRole:
        return m_installed[row] ? QString() : sizeText(model);
    default:
        return {};
    }
}

QHash<int, QByteArray> SpeechModelList::roleNames() const
{
    return {{NameRole, "name"}, {TextRole, "text"}, {InstalledRole, "installed"}, {DescriptionRole, "description"},
        {CostRole, "cost"}, {DownloadRole, "download"}};
}

} // namespace orvo
