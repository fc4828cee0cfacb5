#pragma once

#include "system/RegistryValue.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <mutex>
#include <optional>

namespace torvelane {

class ValueLedger;

/// Where a registry value lies: `path` below the hive, as in RegistryAccess.
struct ValuePlace {
    RegistryHive hive = RegistryHive::CurrentUser;
    QString path;
    QString name;

    /// What two spellings of one place have in common: short hive name, lower-cased path and lower-cased name, joined by
    /// "|".
    [[nodiscard]] QString key() const;
};

/// A value that a holder has changed.
struct HeldValue {
    ValuePlace place;
    std::optional<RegistryValue>
        original;                      ///< What stood there before anybody changed it; nothing if that can't be read.
    std::optional<RegistryValue> wish; ///< What the holder writes; nothing if that isn't known.
};

/// One thing that can be switched off by itself, with what it changed: an entry of the catalogue, Gaming Mode, a profile of
/// services, an adapter, a program.
struct ValueHolder {
    QString id; ///< Of the entry, or "file" or "file/member" of the snapshot.
    /// Who came later has the greater one. Without it the order drawn for the id counts, and 0 if there is none.
    std::optional<qint64> order;
    QList<HeldValue> values;
};

/// Says what the holders of one kind of snapshot hold, for the ledger.
class HolderSource {
public:
    HolderSource() = default;
    virtual ~HolderSource() = default;
    HolderSource(const HolderSource&) = delete;
    HolderSource& operator=(const HolderSource&) = delete;

    /// Puts into the ledger what has changed in the snapshots since the last time, in this process or in another one, and
    /// takes out who is gone. Called often, so that no change has to cost nearly nothing; on any thread, one at a time.
    virtual void update(ValueLedger& ledger) = 0;
};

/// Who holds which registry value. A value is held from the moment when a snapshot with it is on the disk until that
/// snapshot is gone. All holders of a value agree on its original, and a restore writes that only when nobody else holds
/// the value; so the order in which they are switched on and off doesn't matter.
///
/// It is a view over the snapshots and stores nothing itself. The sources know their snapshots, LedgerSession is how the
/// modules ask. Any thread; one session at a time.
class ValueLedger {
public:
    ValueLedger() = default;
    ValueLedger(const ValueLedger&) = delete;
    ValueLedger& operator=(const ValueLedger&) = delete;

    /// The ledger of the program for those who aren't given one. Without one it is an empty one, in which nobody holds
    /// anything. Set on the main thread while nobody asks; null takes it back.
    [[nodiscard]] static ValueLedger& current();
    static void setCurrent(ValueLedger* ledger);

    /// Not owned. A source that goes takes its holders out first.
    void attach(HolderSource* source);
    void detach(HolderSource* source);

    /// How the order of a holder without one of its own is drawn: it is stored, and greater than all before it.
    using OrderDrawer = std::function<bool(const QString& holder)>;
    void setOrderDrawer(OrderDrawer drawer);

    /// What is done after changes: see Batch.
    void setChangeListener(std::function<void()> listener);

    /// Around changes that belong together: says at its end that the snapshots, and what is held, may have changed.
    class Batch {
    public:
        explicit Batch(ValueLedger& ledger) : m_ledger(ledger) { }
        ~Batch();
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

    private:
        ValueLedger& m_ledger;
    };

    /// For the sources, in their update. `put` replaces what the holder held before.
    void put(const ValueHolder& holder);
    void remove(const QString& holder);
    void setDrawnOrders(const QHash<QString, qint64>& orders) { m_drawnOrders = orders; }

    /// A held value with all of its holders, the latest last.
    struct Held {
        ValuePlace place;
        std::optional<RegistryValue> original; ///< Of the first holder whose original can be read.
        std::optional<RegistryValue> wish;     ///< Of the last holder.
        QStringList holders;
    };

    /// All held values as the snapshots are now, in no order.
    [[nodiscard]] QList<Held> heldValues();

    /// How many of a holder's values aren't what they were made, by nobody who is in the ledger.
    struct Drift {
        int changed = 0;
        int total = 0;
    };

    /// Reads all values of these holders; of those that have one. Blocks on the registry. While another process or thread
    /// is changing values, these may count as well.
    [[nodiscard]] QHash<QString, Drift> drift(const QStringList& holders);

private:
    friend class LedgerSession;

    struct Hold {
        QString holder;
        HeldValue value;
    };

    void update();
    [[nodiscard]] qint64 orderOf(const QString& holder) const;
    [[nodiscard]] QList<const Hold*> holdsOf(const QString& key) const;

    std::recursive_mutex m_mutex; ///< Guards all below; a session keeps it.
    QList<HolderSource*> m_sources;
    OrderDrawer m_drawOrder;
    std::function<void()> m_changeListener;
    QHash<QString, qint64> m_drawnOrders;
    QHash<QString, qint64> m_orders;     ///< Of holders with one of their own.
    QHash<QString, QStringList> m_keys;  ///< Of the values of each holder.
    QHash<QString, QList<Hold>> m_holds; ///< By the place's key.
};

/// How one holder asks for what the others hold, while it captures and changes values or puts them back. Keeps all other
/// threads of the process from doing the same, so that nothing changes between the question and the change; the same
/// thread may have several. Under the MachineLock, which keeps the other processes away; not around anything that takes
/// long.
class LedgerSession {
public:
    /// Waits for other threads' sessions, and looks at the snapshots.
    LedgerSession(ValueLedger& ledger, QString holder);
    LedgerSession(const LedgerSession&) = delete;
    LedgerSession& operator=(const LedgerSession&) = delete;

    /// What has to be captured: the original that another holder has, or what stands there if nobody holds the value.
    /// False with the reason in `error`, which may be null, if that can't be read.
    [[nodiscard]] bool readOriginal(const ValuePlace& place, RegistryValue& out, QString* error) const;

    /// Whether only others hold the value whose original can't be read: then it can't be captured.
    [[nodiscard]] bool isOriginalLost(const ValuePlace& place) const;

    /// The end of this holder's part in a value: writes the original if nobody else holds it, and otherwise what the
    /// latest of the others wants. Whether the value could be written, where it had to be.
    [[nodiscard]] bool putBack(const ValuePlace& place, const RegistryValue& original) const;

    /// Makes this holder the latest one. Before its snapshot is written. A failure, which is logged where it happens,
    /// only costs the order.
    void drawOrder() const;

    /// Everything is put back and the snapshot about to go, after something that takes too long for a session.
    void leave() const { m_ledger.remove(m_holder); }

private:
    /// The latest other holder whose original is known; one that can't be undone must not keep another from undoing.
    [[nodiscard]] const ValueLedger::Hold* lastOther(const ValuePlace& place) const;

    ValueLedger& m_ledger;
    QString m_holder;
    std::unique_lock<std::recursive_mutex> m_locker;
};

/// A place as messages name it.
[[nodiscard]] QString placeText(const ValuePlace& place);

} // namespace torvelane
