#include "OrvoVideo/ui/Remembered.h"

#include "Platform/settings/StoredSettings.h"

#include <QByteArray>
#include <QJSValue>
#include <QMetaProperty>
#include <QVariant>
#include <optional>

namespace orvo {

namespace {

bool holdsBytes(const QMetaProperty& property)
{
    return property.metaType() == QMetaType::fromType<QVariant>() || property.metaType() == QMetaType::fromType<QJSValue>();
}

std::string textOf(const QMetaProperty& property, const QVariant& value)
{
    if (!holdsBytes(property))
        return value.toString().toStdString();
    const QVariant plain = value.metaType() == QMetaType::fromType<QJSValue>() ? value.value<QJSValue>().toVariant() : value;
    return plain.toByteArray().toBase64().toStdString();
}

std::optional<QVariant> valueIn(const std::string& text, const QMetaProperty& property)
{
    if (holdsBytes(property))
        return QVariant(QByteArray::fromBase64(QByteArray::fromStdString(text)));
    QVariant value(QString::fromStdString(text));
    return value.convert(property.metaType()) ? std::optional(value) : std::nullopt;
}

} // namespace

std::string Remembered::keyOf(const QMetaProperty& property) const
{
    return m_category.toStdString() + '.' + property.name();
}

void Remembered::componentComplete()
{
    const QMetaObject& type = *metaObject();
    const auto changed = staticMetaObject.method(staticMetaObject.indexOfSlot("store()"));
    for (int i = staticMetaObject.propertyCount(); i < type.propertyCount(); ++i) {
        const auto property = type.property(i);
        const auto stored = StoredSettings::text(keyOf(property));
        if (const auto value = stored ? valueIn(*stored, property) : std::nullopt)
            property.write(this, *value);
        m_stored.insert(i, textOf(property, property.read(this)));
        connect(this, property.notifySignal(), this, changed);
    }
}

void Remembered::store()
{
    for (auto [index, stored] : m_stored.asKeyValueRange()) {
        const auto property = metaObject()->property(index);
        const auto text = textOf(property, property.read(this));
        if (text != stored)
            StoredSettings::remember(keyOf(property), stored = text);
    }
}

} // namespace orvo
