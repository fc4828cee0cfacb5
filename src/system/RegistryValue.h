#pragma once

#include "system/RegistryTypes.h"

#include <QByteArray>
#include <QString>

namespace torvelane {

/// One registry value as the product models it; a default-constructed one means that there is none. Copied freely.
struct RegistryValue {
    bool exists = false;
    RegistryValueKind kind = RegistryValueKind::None;
    quint64 number = 0; ///< Dword and Qword content.
    QString text;       ///< Sz and ExpandSz content, without terminator.
    QByteArray bytes;   ///< Binary content.

    bool operator==(const RegistryValue&) const = default;
};

} // namespace torvelane
