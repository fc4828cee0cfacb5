// For ThreadSanitizer only. Qt's thread pool hands work over under a mutex of its own, but Debian's Qt is built without
// the sanitizer, which therefore takes every value that a worker was given for a race. This stands in front of
// QThreadPool::start, says that the giver comes before the worker, and hides nothing that either of them does wrong.

#include <QRunnable>
#include <QThreadPool>

#include <dlfcn.h>

extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);

namespace {

/// In front of the pool's own work, which it owns as the pool would.
class Handed : public QRunnable {
public:
    explicit Handed(QRunnable* work) : m_work(work) { __tsan_release(this); }

    ~Handed() override
    {
        if (m_work->autoDelete())
            delete m_work;
    }

    Handed(const Handed&) = delete;
    Handed& operator=(const Handed&) = delete;

    void run() override
    {
        __tsan_acquire(this);
        m_work->run();
    }

private:
    QRunnable* m_work;
};

} // namespace

void QThreadPool::start(QRunnable* runnable, int priority)
{
    using Start = void (*)(QThreadPool*, QRunnable*, int);
    static const auto start = reinterpret_cast<Start>(dlsym(RTLD_NEXT, "_ZN11QThreadPool5startEP9QRunnablei"));
    start(this, runnable ? new Handed(runnable) : nullptr, priority);
}
