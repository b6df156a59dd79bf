#include "kerf/platform/root_object.h"

#include <charconv>
#include <cstdint>

#include "kerf/platform/sinks.h"

namespace kerf {

namespace {

template <class Number, class... Base>
void dumpNumber(Number value, Base... base) {
    char text[64];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text - 1, value, base...);
    *end.ptr = '\0';
    outputDebugText(text);
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

CDumpContext& CDumpContext::operator<<(const std::string& text) {
    outputDebugText(text.c_str());
    return *this;
}

CDumpContext& CDumpContext::operator<<(char c) {
    const char text[] = {c, '\0'};
    outputDebugText(text);
    return *this;
}

CDumpContext& CDumpContext::operator<<(int value) {
    dumpNumber(value);
    return *this;
}

CDumpContext& CDumpContext::operator<<(unsigned int value) {
    dumpNumber(value);
    return *this;
}

CDumpContext& CDumpContext::operator<<(long value) {
    dumpNumber(value);
    return *this;
}

CDumpContext& CDumpContext::operator<<(unsigned long value) {
    dumpNumber(value);
    return *this;
}

CDumpContext& CDumpContext::operator<<(long long value) {
    dumpNumber(value);
    return *this;
}

CDumpContext& CDumpContext::operator<<(unsigned long long value) {
    dumpNumber(value);
    return *this;
}

CDumpContext& CDumpContext::operator<<(double value) {
    dumpNumber(value);
    return *this;
}

CDumpContext& CDumpContext::operator<<(const void* address) {
    outputDebugText("0x");
    dumpNumber(reinterpret_cast<std::uintptr_t>(address), 16);
    return *this;
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
