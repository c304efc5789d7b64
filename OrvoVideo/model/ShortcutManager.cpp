#include "OrvoVideo/model/ShortcutManager.h"

#include "Platform/settings/StoredSettings.h"
#include "Platform/shortcuts/VirtualKeys.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <bit>
#include <format>
#include <limits>
#include <span>
#include <utility>
#include <vector>

namespace orvo {

namespace {

constexpr std::uint32_t usualModifiers = ShortcutKeys::control | ShortcutKeys::option | ShortcutKeys::command;

std::string settingOf(ShortcutManager::Action action)
{
    return std::format("shortcut.{}", std::to_underlying(action));
}

ShortcutManager::Binding usual(ShortcutManager::Action action)
{
    switch (action) {
    case ShortcutManager::Action::Record:
        return {15, usualModifiers};
    case ShortcutManager::Action::Pause:
        return {35, usualModifiers};
    case ShortcutManager::Action::Zoom:
        return {6, usualModifiers};
    }
    std::unreachable();
}

QString descriptionOf(ShortcutManager::Action action)
{
    switch (action) {
    case ShortcutManager::Action::Record:
        return QStringLiteral("Grabar / terminar");
    case ShortcutManager::Action::Pause:
        return QStringLiteral("Pausar / continuar");
    case ShortcutManager::Action::Zoom:
        return QStringLiteral("Zoom en el cursor");
    }
    std::unreachable();
}

/// Returns an unsigned 32-bit integer, or nullopt for any other value.
std::optional<std::uint32_t> numberIn(const QJsonValue& value)
{
    const double number = value.toDouble(-1);
    if (!(number >= 0 && number <= std::numeric_limits<std::uint32_t>::max()))
        return std::nullopt;
    const auto whole = static_cast<std::uint32_t>(number);
    return static_cast<double>(whole) == number ? std::optional(whole) : std::nullopt;
}

std::optional<ShortcutManager::Binding> bindingIn(const QByteArray& stored)
{
    const auto object = QJsonDocument::fromJson(stored).object();
    const auto key = numberIn(object.value(QLatin1String("keyCode")));
    const auto modifiers = numberIn(object.value(QLatin1String("modifiers")));
    if (!key || !modifiers)
        return std::nullopt;
    return ShortcutManager::Binding{*key, *modifiers};
}

std::uint32_t masksOf(Qt::KeyboardModifiers modifiers)
{
    std::uint32_t masks = 0;
    for (const auto& [modifier, mask] :
        {std::pair{Qt::ControlModifier, ShortcutKeys::control}, std::pair{Qt::AltModifier, ShortcutKeys::option},
            std::pair{Qt::ShiftModifier, ShortcutKeys::shift}, std::pair{Qt::MetaModifier, ShortcutKeys::command}}) {
        if (modifiers.testFlag(modifier))
            masks |= mask;
    }
    return masks;
}

} // namespace

ShortcutManager::ShortcutManager(std::unique_ptr<ShortcutKeys> keys, QObject* parent)
    : QObject(parent)
    , m_keys(std::move(keys))
{
    connect(
        m_keys.get(), &ShortcutKeys::pressed, this,
        [this](quint32 id) {
            if (id >= std::to_underlying(actions.front()) && id <= std::to_underlying(actions.back()))
                emit pressed(static_cast<Action>(id));
        },
        Qt::QueuedConnection);
    connect(m_keys.get(), &ShortcutKeys::supportChanged, this, &ShortcutManager::supportChanged);
    reload();
}

ShortcutManager::~ShortcutManager() = default;

ShortcutManager::Binding ShortcutManager::binding(Action action) const
{
    const auto stored = StoredSettings::text(settingOf(action));
    return (stored ? bindingIn(QByteArray::fromStdString(*stored)) : std::nullopt).value_or(usual(action));
}

void ShortcutManager::set(Action action, std::uint32_t key, std::uint32_t modifiers)
{
    const QJsonObject stored{{QStringLiteral("keyCode"), static_cast<qint64>(key)},
        {QStringLiteral("modifiers"), static_cast<qint64>(modifiers)}};
    StoredSettings::remember(settingOf(action), QJsonDocument(stored).toJson(QJsonDocument::Compact).toStdString());
    reload();
    emit bindingsChanged();
}

void ShortcutManager::reload()
{
    std::vector<ShortcutKeys::Combination> combinations;
    for (const Action action : m_heldBack ? std::span<const Action>() : std::span<const Action>(actions)) {
        const Binding bound = binding(action);
        combinations.push_back({.id = std::to_underlying(action),
            .keyCode = bound.keyCode,
            .modifiers = bound.modifiers,
            .description = descriptionOf(action)});
    }
    m_keys->listen(combinations);
}

QString ShortcutManager::text(Action action) const
{
    const Binding bound = binding(action);
    return VirtualKeys::text(bound.keyCode, bound.modifiers);
}

bool ShortcutManager::capture(Action action, int qtKey, int modifiers, quint32 scanCode)
{
    const std::uint32_t masks = masksOf(Qt::KeyboardModifiers(modifiers));
    const auto* key = VirtualKeys::ofEvent(qtKey, scanCode);
    if (std::popcount(masks) < 2 || !key)
        return false;
    set(action, key->code, masks);
    return true;
}

void ShortcutManager::holdBack()
{
    m_heldBack = true;
    reload();
}

void ShortcutManager::listen()
{
    if (std::exchange(m_heldBack, false))
        reload();
}

bool ShortcutManager::hears(Action action) const
{
    return m_keys->hears(std::to_underlying(action));
}

/// Names the combinations that other programs use; empty without any.
QString ShortcutManager::refusedText() const
{
    if (m_heldBack)
        return {};
    QStringList refused;
    for (const Action action : actions) {
        if (!hears(action))
            refused << text(action);
    }
    if (refused.isEmpty())
        return {};
    return QStringLiteral("Otro programa usa %1. Elige otra combinación, o usa el icono de la bandeja o la ventana.")
        .arg(refused.join(QStringLiteral(" y ")));
}

QString ShortcutManager::supportText() const
{
    switch (m_keys->support()) {
    case ShortcutKeys::Support::ours:
        return refusedText();
    case ShortcutKeys::Support::desktop:
        return QStringLiteral("Tu escritorio decide estas combinaciones: puedes cambiarlas en sus ajustes de atajos.");
    case ShortcutKeys::Support::none:
        return QStringLiteral("Este escritorio no ofrece atajos globales. Usa el icono de la bandeja o la ventana.");
    }
    std::unreachable();
}

} // namespace orvo
