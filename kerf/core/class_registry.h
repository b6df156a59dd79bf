#pragma once
#include <cstddef>

#include "kerf/platform/config.h"
#include "kerf/platform/root_object.h"

// The run-time class registry: one static descriptor for each class of the object family, all on
// one chain, and the macros that give a class its descriptor and its casts.
namespace kerf {

class CString;
class ERObject;
struct FeatureResult;

/// What is known of a class at run time. Descriptors are static objects; the chain from pFirstClass
/// runs from the last class registered to the first.
class KERF_EXPORT ERClassRegistration {
public:
    using Creator = ERObject* (*)();

    /// Builds a descriptor that is not yet on the chain, at compile time where the addresses allow.
    struct Unlinked {};
    constexpr ERClassRegistration(Unlinked, const char* className, unsigned int classSize,
                                  const ERClassRegistration** directBases,
                                  const ERClassRegistration** memberClasses,
                                  Creator builder) noexcept
        : name(className),
          size(classSize),
          bases(directBases),
          members(memberClasses),
          creator(builder) {}

    /// Fills the fields and links the descriptor at the head of the chain.
    ERClassRegistration(const char* className, unsigned int classSize,
                        const ERClassRegistration** directBases,
                        const ERClassRegistration** memberClasses, Creator builder);

    /// An empty, unlinked descriptor: nothing is copied, name and size included. Callers rely on
    /// it.
    ERClassRegistration(const ERClassRegistration&) noexcept {}
    ERClassRegistration& operator=(const ERClassRegistration&) = delete;

    /// Takes the descriptor off the chain.
    ~ERClassRegistration();

    void link() noexcept;

    /// 1 when this is c or derives from it, directly or not. 0 for a null c.
    int isKindOf(const ERClassRegistration* c) const;

    /// The same question on the member lists; `members` must not be null.
    int hasMember(const ERClassRegistration* c) const;

    /// The descriptor of that name (exact bytes), or null.
    static const ERClassRegistration* findClassRegistration(const char* className);

    /// The creator of that class; null for an unknown or abstract class.
    static Creator findCreator(const char* className);

    /// Writes the tree of bases to the debug output, each line indented by level + 1 tabs and more
    /// with the depth.
    void DumpBased(int level) const;

    const char* name = nullptr;
    unsigned int size = 0;                        ///< of the class, in bytes
    const ERClassRegistration** bases = nullptr;  ///< direct bases, null-terminated; may be null
    const ERClassRegistration** members =
        nullptr;                          ///< null-terminated; empty in the library's classes
    Creator creator = nullptr;            ///< builds an empty heap object; null when abstract
    ERClassRegistration* next = nullptr;  ///< the chain

    static ERClassRegistration* pFirstClass;
};

/// What a program that links the static library refers to, so that the linker takes the whole of
/// it.
struct WholeLibrary {
    const ERClassRegistration* const* classes;
    void (*initModule)();
    CString (*resultText)(const FeatureResult&);  ///< brings the library's own texts along
};
#if defined(KERF_STATIC_PROGRAM)
extern const WholeLibrary wholeLibrary;
namespace {
[[gnu::used]] const WholeLibrary* const wholeLibraryIsNeeded = &wholeLibrary;
}
#endif

/// Puts a descriptor on the chain when static objects are built.
struct ERClassLink {
    explicit ERClassLink(ERClassRegistration& descriptor) noexcept { descriptor.link(); }
};

/// Called when a cast fails or is ambiguous. The body is empty: a hook for a debugger, it never
/// stops.
KERF_EXPORT void erreurCastDown(const ERClassRegistration* wanted,
                                const ERClassRegistration* found);

template <class Base, class Object>
void* castdownThroughBase(const Object& object, const ERClassRegistration& wanted) {
    return object.Base::_castdown(wanted);
}

/// Asks each base in turn for its part of the class `wanted`. A later answer that differs from an
/// earlier one is reported to erreurCastDown and then stands.
template <class... Bases, class Object>
void* castdownThroughBases(const Object& object, const ERClassRegistration& wanted) {
    void* answer = nullptr;
    const auto consider = [&](void* part) {
        if (part == nullptr) return;
        if (answer != nullptr && part != answer) erreurCastDown(&wanted, Object::desc());
        answer = part;
    };
    (consider(castdownThroughBase<Bases>(object, wanted)), ...);
    return answer;
}

/// The cast behind `X::castdown`: null for an object that is no X, reported to erreurCastDown.
template <class X, class Object>
X* castdownTo(Object* object) {
    if (object == nullptr) return nullptr;
    void* part = object->_castdown(*X::desc());
    if (part == nullptr) erreurCastDown(X::desc(), object->isA());
    return static_cast<X*>(part);
}

/// Binds a reference that may be null, as the reference forms of `castdown` answer on failure.
#if defined(__GNUC__)
template <class X>
__attribute__((no_sanitize("null"))) X& referenceOrNull(X* object) {
    return *object;
}
#else
template <class X>
X& referenceOrNull(X* object) {
    return *object;
}
#endif

}  // namespace kerf

// The members that every class of the family carries. `castdown` of a pointer answers null for null
// and for an object of another class; of a reference it answers a null reference on failure, which
// callers must not use: who wants safety takes the pointer form or isKindOf.
#define ER_OBJECT_CLASS_RECORDS(Class)                                                         \
public:                                                                                        \
    static ::kerf::ERClassRegistration m_ClassDef_##Class;                                     \
    static const ::kerf::ERClassRegistration* m_Inherite_##Class[];                            \
    static const ::kerf::ERClassRegistration* m_Member_##Class[];                              \
    static ::kerf::CRuntimeClass class##Class;                                                 \
    static ::kerf::CRuntimeClass* _GetBaseClass() { return ::kerf::CObject::GetThisClass(); }  \
    static ::kerf::CRuntimeClass* GetThisClass() { return &class##Class; }                     \
    static constexpr const ::kerf::ERClassRegistration* desc() { return &m_ClassDef_##Class; } \
    ::kerf::CRuntimeClass* GetRuntimeClass() const override { return &class##Class; }

/// In the body of a class of the object family; what follows is public.
#define ER_OBJECT_CLASS(Class)                                                                     \
    ER_OBJECT_CLASS_RECORDS(Class)                                                                 \
    const ::kerf::ERClassRegistration* isA() const override { return desc(); }                     \
    const char* className() const override { return desc()->name; }                                \
    [[maybe_unused]] void* _castdown(const ::kerf::ERClassRegistration& wanted) const override;    \
    static Class* castdown(::kerf::ERObject* object) { return ::kerf::castdownTo<Class>(object); } \
    static const Class* castdown(const ::kerf::ERObject* object) {                                 \
        return ::kerf::castdownTo<const Class>(object);                                            \
    }                                                                                              \
    static Class* castdown(std::nullptr_t) { return nullptr; }                                     \
    static Class& castdown(::kerf::ERObject& object) {                                             \
        return ::kerf::referenceOrNull(::kerf::castdownTo<Class>(&object));                        \
    }                                                                                              \
    static const Class& castdown(const ::kerf::ERObject& object) {                                 \
        return ::kerf::referenceOrNull(::kerf::castdownTo<const Class>(&object));                  \
    }                                                                                              \
    static_assert(true, "asks for the semicolon")

#define ER_DESCRIPTORS(First, ...) First::desc() __VA_OPT__(, ER_FURTHER_DESCRIPTORS(__VA_ARGS__))
#define ER_FURTHER_DESCRIPTORS(First, ...) First::desc() __VA_OPT__(, __VA_ARGS__::desc())

#define ER_DEFINE_CLASS_RECORDS(Class, creatorFunction, ...)                                       \
    const ::kerf::ERClassRegistration* Class::m_Inherite_##Class[] = {                             \
        __VA_ARGS__ __VA_OPT__(, ) nullptr};                                                       \
    const ::kerf::ERClassRegistration* Class::m_Member_##Class[] = {nullptr};                      \
    ::kerf::ERClassRegistration Class::m_ClassDef_##Class(                                         \
        ::kerf::ERClassRegistration::Unlinked{}, #Class, static_cast<unsigned int>(sizeof(Class)), \
        Class::m_Inherite_##Class, Class::m_Member_##Class, creatorFunction);                      \
    static const ::kerf::ERClassLink linkOf##Class(Class::m_ClassDef_##Class);                     \
    ::kerf::CRuntimeClass Class::class##Class = {#Class, static_cast<int>(sizeof(Class)), 0xFFFF,  \
                                                 nullptr, &Class::_GetBaseClass};

#define ER_DEFINE_CLASS_CASTS(Class, ...)                                     \
    void* Class::_castdown(const ::kerf::ERClassRegistration& wanted) const { \
        if (&wanted == desc()) return const_cast<Class*>(this);               \
        return ::kerf::castdownThroughBases<__VA_ARGS__>(*this, wanted);      \
    }

/// In the source: a class that can be built empty, to be filled by restoreGuts. The direct bases of
/// the family follow, in the order in which the descriptor lists them and _castdown asks them.
#define ER_DEFINE_CLASS(Class, ...)                                                          \
    ER_DEFINE_CLASS_RECORDS(                                                                 \
        Class, []() -> ::kerf::ERObject* { return new Class; }, ER_DESCRIPTORS(__VA_ARGS__)) \
    ER_DEFINE_CLASS_CASTS(Class, __VA_ARGS__)

/// In the source: a class without a creator.
#define ER_DEFINE_ABSTRACT_CLASS(Class, ...)                             \
    ER_DEFINE_CLASS_RECORDS(Class, nullptr, ER_DESCRIPTORS(__VA_ARGS__)) \
    ER_DEFINE_CLASS_CASTS(Class, __VA_ARGS__)
