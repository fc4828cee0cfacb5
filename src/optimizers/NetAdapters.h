#pragma once

#include <QList>
#include <QString>

namespace torvelane {

/// What an adapter is by the interface type that its driver declares.
enum class AdapterKind : qint32 {
    Ethernet = 0, ///< *IfType 6
    WiFi = 1,     ///< *IfType 71
    Other = 2,    ///< anything else
};

/// One network adapter that is real hardware. Copied freely.
struct NetAdapter {
    QString guid;           ///< As WMI spells it; the optimisers remember an adapter by it.
    QString name;           ///< Of the device.
    QString connectionName; ///< As Windows' settings show it; may be empty.
    QString pnpDeviceId;    ///< The device's instance id.
    QString regSubKey;      ///< Path below HKLM of the key with the driver's settings, never empty in a listed adapter.
    AdapterKind kind = AdapterKind::Other;
    bool netEnabled = false; ///< Switched on in Windows.
};

/// The adapters of this machine that are hardware, have an address, and keep driver settings, in WMI's order; disabled
/// and unplugged ones too. Empty if WMI doesn't answer, which the log says (category "net"). Blocks, for seconds on a
/// slow machine: never on the GUI thread.
[[nodiscard]] QList<NetAdapter> listNetAdapters();

/// Restarts the device of `pnpDeviceId`, so that changed driver settings take effect; its connection drops for a moment.
/// Nothing else of the record is read. On false `error`, which may be null, gets a sentence for the user, and the
/// changes take effect with the next start of Windows. Blocks; needs administrator rights.
[[nodiscard]] bool restartAdapter(const NetAdapter& adapter, QString* error);

} // namespace torvelane
