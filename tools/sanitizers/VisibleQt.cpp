// For ThreadSanitizer only. Qt orders what its threads do under locks of its own, but Debian's Qt is built without the
// sanitizer, which therefore takes every value that crosses from one thread to another for a race. This stands in front
// of the library's ways across: the pool, queued signals and calls, the end of a thread. It says what each of them
// promises, and hides nothing that either side does wrong.

#include <QDeadlineTimer>
#include <QFutureInterface>
#include <QObject>
#include <QRunnable>
#include <QThread>
#include <QThreadPool>

#include <dlfcn.h>
#include <sched.h>

#include <cstdarg>
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

/// In front of a slot or a queued function. `source` is what its giver lets go of: the sender of a signal, or the call
/// itself. What the slot did comes before the end of its thread, before the return of a caller that waited for it, and
/// before the call is destroyed.
class VisibleCall : public QtPrivate::QSlotObjectBase {
public:
    explicit VisibleCall(QtPrivate::QSlotObjectBase* inner, const QObject* sender, void* caller)
        : QSlotObjectBase(&act)
        , m_inner(inner)
        , m_source(sender ? static_cast<const void*>(sender) : this)
        , m_caller(caller)
    {
        __tsan_release(this);
    }

    [[nodiscard]] void* source() const { return const_cast<void*>(m_source); }

private:
    static void act(int which, QSlotObjectBase* self, QObject* receiver, void** arguments, bool* result)
    {
        auto* const call = static_cast<VisibleCall*>(self);
        if (which == Destroy) {
            __tsan_acquire(call);
            call->m_inner->destroyIfLastRef();
            delete call;
        } else if (which == Compare) {
            *result = call->m_inner->compare(arguments);
        } else {
            void* const caller = call->m_caller;
            __tsan_acquire(call->source());
            call->m_inner->call(receiver, arguments);
            __tsan_release(call);
            __tsan_release(QThread::currentThread());
            if (caller)
                __tsan_release(caller);
        }
    }

    QtPrivate::QSlotObjectBase* m_inner;
    const void* m_source;
    void* m_caller;
};

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

QMetaObject::Connection QObject::connectImpl(const QObject* sender, void** signal, const QObject* receiver, void** slot,
                                             QtPrivate::QSlotObjectBase* slotObject, Qt::ConnectionType type,
                                             const int* types, const QMetaObject* senderMetaObject)
{
    using Connect = QMetaObject::Connection (*)(const QObject*, void**, const QObject*, void**,
                                                QtPrivate::QSlotObjectBase*, Qt::ConnectionType, const int*,
                                                const QMetaObject*);
    static const auto connect = behind<Connect>(
        "_ZN7QObject11connectImplEPKS_PPvS1_S3_PN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPKiPK11QMetaObject");
    return connect(sender, signal, receiver, slot, new VisibleCall(slotObject, sender, nullptr), type, types,
                   senderMetaObject);
}

/// Where moc's code emits a signal.
void QMetaObject::activate(QObject* sender, const QMetaObject* metaObject, int signal, void** arguments)
{
    using Activate = void (*)(QObject*, const QMetaObject*, int, void**);
    static const auto activate = behind<Activate>("_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    __tsan_release(sender);
    activate(sender, metaObject, signal, arguments);
}

bool QMetaObject::invokeMethodImpl(QObject* object, QtPrivate::QSlotObjectBase* slot, Qt::ConnectionType type, void* result)
{
    using Invoke = bool (*)(QObject*, QtPrivate::QSlotObjectBase*, Qt::ConnectionType, void*);
    static const auto invoke = behind<Invoke>(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
    char caller = 0;
    const bool waits = type == Qt::BlockingQueuedConnection;
    auto* const call = new VisibleCall(slot, nullptr, waits ? &caller : nullptr);
    __tsan_release(call->source());
    const bool isDone = invoke(object, call, type, result);
    if (waits)
        __tsan_acquire(&caller);
    return isDone;
}

bool QThread::wait(QDeadlineTimer deadline)
{
    using Wait = bool (*)(QThread*, QDeadlineTimer);
    static const auto wait = behind<Wait>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool hasEnded = wait(this, deadline);
    if (hasEnded)
        __tsan_acquire(this);
    return hasEnded;
}

/// QProcess lets its child share this process's memory until it becomes the program. The sanitizer takes that for a fork,
/// tells the child to look at nothing more, and so blinds the thread that has started it. A copy of the memory does as well.
extern "C" int clone(int (*function)(void*), void* stack, int flags, void* argument, ...)
{
    using Clone = int (*)(int (*)(void*), void*, int, void*, ...);
    static const auto clone = behind<Clone>("clone");
    va_list others;
    va_start(others, argument);
    void* const parentId = va_arg(others, void*);
    void* const tls = va_arg(others, void*);
    void* const childId = va_arg(others, void*);
    va_end(others);
    return clone(function, stack, flags & ~(CLONE_VM | CLONE_VFORK), argument, parentId, tls, childId);
}
