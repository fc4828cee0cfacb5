#pragma once

#include "platform/HResult.h"

#include <QList>
#include <QString>

#include <memory>

namespace torvelane::platform {

/// The tags of a VARIANT that the program names; a value may carry any other.
/// https://learn.microsoft.com/windows/win32/api/wtypes/ne-wtypes-varenum
inline constexpr quint16 vtEmpty = 0;
inline constexpr quint16 vtNull = 1;
inline constexpr quint16 vtI2 = 2;
inline constexpr quint16 vtI4 = 3;
inline constexpr quint16 vtR4 = 4;
inline constexpr quint16 vtR8 = 5;
inline constexpr quint16 vtDate = 7;
inline constexpr quint16 vtBstr = 8;
inline constexpr quint16 vtBool = 11;
inline constexpr quint16 vtUi1 = 17;
inline constexpr quint16 vtUi2 = 18;
inline constexpr quint16 vtUi4 = 19;
inline constexpr quint16 vtI8 = 20;
inline constexpr quint16 vtUi8 = 21;
inline constexpr quint16 vtArray = 0x2000; ///< Together with the tag of the elements.

/// A VARIANT: its tag and its content, as they are. What they mean is decided above.
struct WmiValue {
    quint16 type = vtEmpty;
    quint64 bits =
        0;          ///< Of a number or truth value: the eight bytes of the union, of which the tag says how many count.
    QString text{}; ///< Of vtBstr; empty for a null string.

    bool operator==(const WmiValue&) const = default;
};

/// A property of an object, or an argument of a method.
struct WmiProperty {
    QString name; ///< As the provider spells it; empty for a null name.
    WmiValue value;
};

/// The properties of one object, without those of the system, in the provider's order. May be empty.
using WmiObject = QList<WmiProperty>;

/// What became of a query.
struct WmiQueryResult {
    HResult code = HResult::Ok; ///< Of ExecQuery.
    bool hasEnumerator = false; ///< False also if the call reported success and gave none.
    QList<WmiObject> objects;   ///< As many as there were before Next answered anything but S_OK.
};

/// How far the call of a class's method got.
enum class WmiMethodStage {
    Services, ///< No namespace is connected.
    Class,    ///< GetObject gave no class.
    Method,   ///< GetMethod gave no signature of the input.
    Instance, ///< SpawnInstance gave no input object.
    Call,     ///< ExecMethod failed or gave no output object.
    Result,   ///< The output object has no readable ReturnValue.
    Done,
};

/// What became of a method call.
struct WmiMethodResult {
    WmiMethodStage stage = WmiMethodStage::Services; ///< The stage that failed, or Done.
    HResult code = HResult::Ok; ///< That stage's code. It says success if the call did, but gave a null object.
    WmiValue returnValue{};     ///< Valid at Done.
};

/// Windows Management Instrumentation: COM on the calling thread, a locator and one namespace, one function a system
/// call. Order: initializeCom, initializeSecurity once in the process, createLocator, connectServer, setProxyBlanket,
/// then any number of queries and method calls. The destructor releases the namespace, then the locator, and then
/// undoes initializeCom if that succeeded.
///
/// Belongs to the thread that makes it. Calls block without a limit, as providers answer.
class WmiConnection {
public:
    WmiConnection();
    ~WmiConnection();
    WmiConnection(const WmiConnection&) = delete;
    WmiConnection& operator=(const WmiConnection&) = delete;

    /// CoInitializeEx, multi-threaded apartment.
    [[nodiscard]] HResult initializeCom();

    /// CoInitializeSecurity with default authentication and impersonation. Holds for the process; the system refuses
    /// a second call. Any thread that initializeCom was called on.
    [[nodiscard]] static HResult initializeSecurity();

    /// CoCreateInstance of WbemLocator.
    [[nodiscard]] HResult createLocator();

    /// ConnectServer as the current user. Only after createLocator succeeded.
    [[nodiscard]] HResult connectServer(const QString& namespacePath);

    /// Whether connectServer gave a namespace.
    [[nodiscard]] bool hasServices() const;

    /// CoSetProxyBlanket on the namespace.
    [[nodiscard]] HResult setProxyBlanket();

    /// ExecQuery, forward-only, returning at once; then every object, one at a time. Only with services.
    [[nodiscard]] WmiQueryResult query(const QString& wql);

    /// Calls a method of a class, not of an instance, with these arguments.
    [[nodiscard]] WmiMethodResult callMethod(const QString& className, const QString& method,
                                             const QList<WmiProperty>& arguments);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace torvelane::platform
