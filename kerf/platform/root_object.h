#pragma once
#include <string>

#include "kerf/platform/config.h"

// The root class: the record of an object's class, and the dump of an object to the debug text.
namespace kerf {

class CArchive;
class CObject;

/// What is known of a class at run time: a static record, constant-initialised.
struct KERF_EXPORT CRuntimeClass {
    const char* name;
    int objectSize;                    ///< in bytes
    unsigned int schema;               ///< 0xFFFF: not built from an archive
    CObject* (*create)();              ///< null: the class cannot be created by its record
    CRuntimeClass* (*getBaseClass)();  ///< null, or returns null, for the root

    /// True when base is this class or one of its bases, along the chain of getBaseClass.
    bool IsDerivedFrom(const CRuntimeClass* base) const;
};

/// Writes to the debug output. Numbers take the shortest form that reads back to the same value,
/// whatever the locale.
class KERF_EXPORT CDumpContext {
public:
    CDumpContext& operator<<(const char* text);  ///< null prints nothing
    CDumpContext& operator<<(const std::string& text);
    CDumpContext& operator<<(char c);
    CDumpContext& operator<<(int value);
    CDumpContext& operator<<(unsigned int value);
    CDumpContext& operator<<(long value);
    CDumpContext& operator<<(unsigned long value);
    CDumpContext& operator<<(long long value);
    CDumpContext& operator<<(unsigned long long value);
    CDumpContext& operator<<(double value);
    CDumpContext& operator<<(const void* address);  ///< in hexadecimal
};

/// The root class, with the five operations that every class has.
class KERF_EXPORT CObject {
public:
    virtual CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject();
    virtual void Serialize(CArchive& archive);
    virtual void AssertValid() const;
    /// Writes the class name and the address.
    virtual void Dump(CDumpContext& context) const;

    static CRuntimeClass* GetThisClass() { return &classCObject; }
    static CRuntimeClass classCObject;

    bool IsKindOf(const CRuntimeClass* base) const {
        return GetRuntimeClass()->IsDerivedFrom(base);
    }

protected:
    CObject() = default;
    CObject(const CObject&) = default;
    CObject& operator=(const CObject&) = default;
};

}  // namespace kerf
