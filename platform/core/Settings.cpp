#include "platform/core/Settings.h"

#include <set>

namespace tessera {

Settings::Settings()
{
    defaults[QString::fromLatin1(settings::useCaseInsensitiveLike.name)] = settings::useCaseInsensitiveLike.defaultValue;
    defaults[QString::fromLatin1(settings::useCaseInsensitiveGlob.name)] = settings::useCaseInsensitiveGlob.defaultValue;
    defaults[QString::fromLatin1(settings::collate.name)] = settings::collate.defaultValue;
}

Settings::Settings(const Settings& other)
{
    QReadLocker locker(&other.lock);
    values = other.values;
    defaults = other.defaults;
}

Settings& Settings::operator=(const Settings& other)
{
    if (this == &other)
        return *this;
    // Copy first so that the two locks are never held together.
    std::map<QString, QVariant> v, d;
    {
        QReadLocker locker(&other.lock);
        v = other.values;
        d = other.defaults;
    }
    QWriteLocker locker(&lock);
    values = std::move(v);
    defaults = std::move(d);
    return *this;
}

QVariant Settings::value(const QString& key, const QVariant& fallback) const
{
    QReadLocker locker(&lock);
    if (auto it = values.find(key); it != values.end())
        return it->second;
    if (auto it = defaults.find(key); it != defaults.end())
        return it->second;
    return fallback;
}

void Settings::setValue(const QString& key, const QVariant& value)
{
    QWriteLocker locker(&lock);
    values[key] = value;
}

void Settings::remove(const QString& key)
{
    QWriteLocker locker(&lock);
    values.erase(key);
}

bool Settings::contains(const QString& key) const
{
    QReadLocker locker(&lock);
    return values.count(key) || defaults.count(key);
}

QStringList Settings::keys() const
{
    QReadLocker locker(&lock);
    std::set<QString> all;
    for (const auto& entry : values)
        all.insert(entry.first);
    for (const auto& entry : defaults)
        all.insert(entry.first);
    QStringList result;
    for (const auto& key : all)
        result << key;
    return result;
}

void Settings::setDefault(const QString& key, const QVariant& value)
{
    QWriteLocker locker(&lock);
    defaults[key] = value;
}

bool Settings::boolValue(const QString& key, bool fallback) const
{
    const QVariant v = value(key);
    return v.isValid() && v.canConvert<bool>() ? v.toBool() : fallback;
}

int Settings::intValue(const QString& key, int fallback) const
{
    bool ok = false;
    const int result = value(key).toInt(&ok);
    return ok ? result : fallback;
}

double Settings::doubleValue(const QString& key, double fallback) const
{
    bool ok = false;
    const double result = value(key).toDouble(&ok);
    return ok ? result : fallback;
}

QString Settings::stringValue(const QString& key, const QString& fallback) const
{
    const QVariant v = value(key);
    return v.isValid() && v.canConvert<QString>() ? v.toString() : fallback;
}

} // namespace tessera
