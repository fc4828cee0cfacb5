#include "platform/SharedLogFile.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace torvelane::platform {

namespace {

/// Owner of a file descriptor, -1 for none.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(const QByteArray& path)
        : m_value(::open(path.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644))
    {
    }
    ~Descriptor()
    {
        if (m_value >= 0)
            ::close(m_value);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    void swap(Descriptor& other) { std::swap(m_value, other.m_value); }
    [[nodiscard]] bool isOpen() const { return m_value >= 0; }
    [[nodiscard]] int value() const { return m_value; }

    [[nodiscard]] qint64 sizeBytes() const
    {
        struct stat status { };
        return ::fstat(m_value, &status) == 0 ? status.st_size : 0;
    }

    [[nodiscard]] bool isAt(const QByteArray& path) const
    {
        struct stat own { };
        struct stat other { };
        return ::fstat(m_value, &own) == 0 && ::stat(path.constData(), &other) == 0 && own.st_dev == other.st_dev
            && own.st_ino == other.st_ino;
    }

private:
    int m_value = -1;
};

class SharedLogFile final : public LogFile {
public:
    SharedLogFile(const QString& path, qint64 limitBytes)
        : m_path(QFile::encodeName(path))
        , m_limitBytes(limitBytes)
        , m_file(m_path)
    {
    }

    [[nodiscard]] bool isOpen() const { return m_file.isOpen(); }

    void append(const QByteArray& line) override
    {
        if (m_file.sizeBytes() >= m_limitBytes)
            moveOn();
        const QByteArray bytes = line + '\n';
        std::ignore = ::write(m_file.value(), bytes.constData(), static_cast<std::size_t>(bytes.size()));
    }

private:
    /// Leaves a file that has reached its limit, if there is another one to go to.
    void moveOn()
    {
        const Descriptor current(m_path);
        if (!current.isOpen())
            return;
        if (current.sizeBytes() >= m_limitBytes) {
            // Locked while it is renamed. Who opened it before and comes to the lock after that finds it elsewhere.
            if (::flock(current.value(), LOCK_EX | LOCK_NB) != 0)
                return;
            if (current.isAt(m_path) && ::rename(m_path.constData(), QByteArray(m_path + ".1").constData()) != 0)
                return;
        }
        Descriptor next(m_path);
        if (next.isOpen())
            next.swap(m_file);
    }

    QByteArray m_path;
    qint64 m_limitBytes;
    Descriptor m_file;
};

} // namespace

std::unique_ptr<LogFile> openSharedLogFile(const QString& path, qint64 limitBytes)
{
    auto file = std::make_unique<SharedLogFile>(path, limitBytes);
    return file->isOpen() ? std::move(file) : nullptr;
}

} // namespace torvelane::platform
