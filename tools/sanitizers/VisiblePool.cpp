// For ThreadSanitizer only. Qt's thread pool hands work over under a mutex of its own, but Debian's Qt is built without
// the sanitizer, which therefore takes every value that a worker was given for a race. This stands in front of
// QThreadPool::start, says that the giver comes before the worker, and hides nothing that either of them does wrong.

#include <QFutureInterface>
#include <QRunnable>
#include <QThreadPool>

#include <dlfcn.h>

#include <utility>

extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);

namespace {

/// In front of the pool's own work, which it owns as the pool would.
class Handed : public QRunnable {
public:
    explicit Handed(QRunnable* work) : m_work(work) { }

    ~Handed() override
    {
        if (m_work->autoDelete())
            delete m_work;
    }

    Handed(const Handed&) = delete;
    Handed& operator=(const Handed&) = delete;

    [[nodiscard]] bool holds(const QRunnable* work) const { return m_work == work; }
    void give() { __tsan_release(this); }

    void run() override
    {
        __tsan_acquire(this);
        m_work->run();
    }

private:
    QRunnable* m_work;
};

/// For the start that follows on the same thread.
thread_local Handed* prepared = nullptr;

/// The library's own function, by its mangled name.
template <typename Function>
Function behind(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

/// Called by QtConcurrent::run just before it starts the work. Whoever waits for the future takes work that nobody has
/// begun back out of the pool, and would look there in vain for anything but what start() is going to put in.
void QFutureInterfaceBase::setRunnable(QRunnable* runnable)
{
    using SetRunnable = void (*)(QFutureInterfaceBase*, QRunnable*);
    static const auto setRunnable = behind<SetRunnable>("_ZN20QFutureInterfaceBase11setRunnableEP9QRunnable");
    prepared = runnable ? new Handed(runnable) : nullptr;
    setRunnable(this, prepared);
}

/// The last owner of a result deletes it after all others have let go of it, which the library counts unseen.
bool QFutureInterfaceBase::derefT() const noexcept
{
    using Deref = bool (*)(const QFutureInterfaceBase*);
    static const auto deref = behind<Deref>("_ZNK20QFutureInterfaceBase6derefTEv");
    QFutureInterfaceBasePrivate* const shared = d;
    __tsan_release(shared);
    const bool hasOwners = deref(this);
    if (!hasOwners)
        __tsan_acquire(shared);
    return hasOwners;
}

void QThreadPool::start(QRunnable* runnable, int priority)
{
    using Start = void (*)(QThreadPool*, QRunnable*, int);
    static const auto start = behind<Start>("_ZN11QThreadPool5startEP9QRunnablei");
    Handed* handed = nullptr;
    if (runnable) {
        handed = prepared && prepared->holds(runnable) ? std::exchange(prepared, nullptr) : new Handed(runnable);
        handed->give();
    }
    start(this, handed, priority);
}
