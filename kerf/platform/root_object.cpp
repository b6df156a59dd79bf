#include "kerf/platform/root_object.h"

#include <charconv>
#include <cstdint>

#include "kerf/platform/sinks.h"

namespace kerf {

namespace {

template <class Number, class... Base>
CDumpContext& dumpNumber(CDumpContext& context, Number value, Base... base) {
    char text[64];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text - 1, value, base...);
    *end.ptr = '\0';
    return context << static_cast<const char*>(text);
}

}  // namespace

bool CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const {
    for (const CRuntimeClass* c = this; c != nullptr;
         c = c->getBaseClass == nullptr ? nullptr : c->getBaseClass())
        if (c == base) return true;
    return false;
}

CDumpContext& CDumpContext::operator<<(const char* text) {
    if (text != nullptr) outputDebugText(text);
    return *this;
}

CDumpContext& CDumpContext::operator<<(const std::string& text) { return *this << text.c_str(); }

CDumpContext& CDumpContext::operator<<(char c) {
    const char text[] = {c, '\0'};
    return *this << static_cast<const char*>(text);
}

CDumpContext& CDumpContext::operator<<(int value) { return dumpNumber(*this, value); }
CDumpContext& CDumpContext::operator<<(unsigned int value) { return dumpNumber(*this, value); }
CDumpContext& CDumpContext::operator<<(long value) { return dumpNumber(*this, value); }
CDumpContext& CDumpContext::operator<<(unsigned long value) { return dumpNumber(*this, value); }
CDumpContext& CDumpContext::operator<<(long long value) { return dumpNumber(*this, value); }
CDumpContext& CDumpContext::operator<<(unsigned long long value) {
    return dumpNumber(*this, value);
}
CDumpContext& CDumpContext::operator<<(double value) { return dumpNumber(*this, value); }

CDumpContext& CDumpContext::operator<<(const void* address) {
    return dumpNumber(*this << "0x", reinterpret_cast<std::uintptr_t>(address), 16);
}

CRuntimeClass CObject::classCObject = {"CObject", static_cast<int>(sizeof(CObject)), 0xFFFF,
                                       nullptr, nullptr};

CRuntimeClass* CObject::GetRuntimeClass() const { return &classCObject; }

CObject::~CObject() = default;

void CObject::Serialize(CArchive&) {}

void CObject::AssertValid() const {}

void CObject::Dump(CDumpContext& context) const {
    context << "a " << GetRuntimeClass()->name << " at " << static_cast<const void*>(this) << "\n";
}

}  // namespace kerf
