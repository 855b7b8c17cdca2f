#pragma once
// Typed application settings: a thread-safe map of key -> QVariant with
// defaults. A SettingKey<T> names a setting together with its type and
// default, so readers need not repeat either.

#include "platform/core/CoreExport.h"

#include <QReadWriteLock>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <map>

namespace tessera {

template <class T>
struct SettingKey {
    const char* name;
    T defaultValue;
};

namespace settings {
// String comparison of the engine (and of its index stores).
inline const SettingKey<bool> useCaseInsensitiveLike{"UseCaseInsensitiveLike", true};
inline const SettingKey<bool> useCaseInsensitiveGlob{"UseCaseInsensitiveGlob", true};
inline const SettingKey<QString> collate{"Collate", QStringLiteral("Locale")};
} // namespace settings

class TESSERA_CORE_EXPORT Settings {
public:
    // Starts with the engine's defaults registered.
    Settings();
    Settings(const Settings& other);
    Settings& operator=(const Settings& other);

    // The stored value, else the registered default, else `fallback`.
    QVariant value(const QString& key, const QVariant& fallback = QVariant()) const;
    void setValue(const QString& key, const QVariant& value);
    // Forgets the stored value; the default shows again.
    void remove(const QString& key);
    bool contains(const QString& key) const;   // stored or defaulted
    QStringList keys() const;                  // stored and defaulted, sorted

    void setDefault(const QString& key, const QVariant& value);

    // Typed getters: the fallback is also used when the value does not
    // convert to the type.
    bool boolValue(const QString& key, bool fallback = false) const;
    int intValue(const QString& key, int fallback = 0) const;
    double doubleValue(const QString& key, double fallback = 0.0) const;
    QString stringValue(const QString& key, const QString& fallback = QString()) const;

    template <class T>
    T get(const SettingKey<T>& key) const {
        const QVariant v = value(QString::fromLatin1(key.name));
        if (!v.isValid() || !v.canConvert<T>())
            return key.defaultValue;
        return v.value<T>();
    }
    template <class T>
    void set(const SettingKey<T>& key, const T& v) { setValue(QString::fromLatin1(key.name), QVariant::fromValue(v)); }

private:
    mutable QReadWriteLock lock;
    std::map<QString, QVariant> values;
    std::map<QString, QVariant> defaults;
};

} // namespace tessera
