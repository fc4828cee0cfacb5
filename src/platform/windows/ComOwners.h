#pragma once

#include "platform/windows/Owners.h"

#include <oleauto.h>

/// Owners of what COM hands out.
namespace torvelane::platform {

template <typename Interface>
struct ComTraits : ResourceOf<Interface*> {
    static void close(Interface* object) { object->Release(); }
};

/// One reference to a COM object, released by the thread that owns it.
template <typename Interface>
using OwnedCom = Owner<ComTraits<Interface>>;

struct BstrTraits : ResourceOf<BSTR> {
    static void close(BSTR text) { SysFreeString(text); }
};

using OwnedBstr = Owner<BstrTraits>;

/// The text as a BSTR, NULs inside it included.
[[nodiscard]] inline OwnedBstr ownBstr(const QString& text)
{
    return OwnedBstr(SysAllocStringLen(wide(text), static_cast<UINT>(text.size())));
}

/// A VARIANT, which starts as VT_EMPTY and is cleared at the end. Not an Owner: it is a value and no handle.
class OwnedVariant {
public:
    OwnedVariant() { VariantInit(&m_value); }
    ~OwnedVariant() { VariantClear(&m_value); }
    OwnedVariant(const OwnedVariant&) = delete;
    OwnedVariant& operator=(const OwnedVariant&) = delete;

    [[nodiscard]] const VARIANT& get() const { return m_value; }

    /// For a call that stores a value, or takes one through a pointer; what it holds is kept.
    [[nodiscard]] VARIANT* address() { return &m_value; }

private:
    VARIANT m_value;
};

} // namespace torvelane::platform
