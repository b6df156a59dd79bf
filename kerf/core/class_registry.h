#pragma once
#include <cstddef>
#include <string_view>

#include "kerf/platform/config.h"
#include "kerf/platform/root_object.h"

// The run-time class registry: a static descriptor for each class derived from ERObject, all on one
// chain, and the macros that give a class its descriptor and its casts.
//
// Threads: descriptors are linked while static objects are built, and are only read afterwards.
namespace kerf {

class CString;
class ERObject;
struct FeatureResult;
template <class T>
class t_SmartPtr;

/// What is known of a class at run time. Descriptors are static objects. The chain begins at
/// pFirstClass with the class that was registered last.
class KERF_EXPORT ERClassRegistration {
public:
    using Creator = ERObject* (*)();

    /// Selects the constructor of a descriptor that is not yet on the chain, which can run at compile
    /// time.
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

    /// Kept: copies nothing. The new descriptor is empty, without a name, and not on the chain.
    ERClassRegistration(const ERClassRegistration&) noexcept {}
    ERClassRegistration& operator=(const ERClassRegistration&) = delete;

    /// Takes the descriptor off the chain.
    ~ERClassRegistration();

    /// Puts the descriptor on the chain. When a class of the same name is there, the debug text says
    /// so: objects of that name are built as the class that came last.
    void link();

    /// 1 when this is c or derives from it, directly or through others; 0 for a null c.
    int isKindOf(const ERClassRegistration* c) const;

    /// 1 when this is c, or when c is found by following the lists of members instead of the lists of
    /// bases. `members` must not be null.
    int hasMember(const ERClassRegistration* c) const;

    /// The descriptor of that name (exact bytes), or null.
    static const ERClassRegistration* findClassRegistration(const char* className);

    /// The creator of that class; null for an unknown or abstract class.
    static Creator findCreator(const char* className);

    /// Writes the tree of bases to the debug output, a line for each: level + 1 tabs before a direct
    /// base, one more with each step down.
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

/// What refers to every part of the library. A program that links the static library refers to it, so
/// that the linker takes the whole library.
struct WholeLibrary {
    const ERClassRegistration* const* classes;  ///< of the library, null-terminated
    void (*initModule)();
    CString (*resultText)(const FeatureResult&);  ///< its source holds the library's texts
};
KERF_EXPORT extern const WholeLibrary wholeLibrary;
#if defined(KERF_STATIC_PROGRAM)
namespace {
[[gnu::used]] const WholeLibrary* const wholeLibraryIsNeeded = &wholeLibrary;
}
#endif

/// Puts a descriptor on the chain when static objects are built.
struct ERClassLink {
    explicit ERClassLink(ERClassRegistration& descriptor) { descriptor.link(); }
};

/// Called when a cast fails or is ambiguous. Does nothing: a place for a debugger to stop at.
KERF_EXPORT void erreurCastDown(const ERClassRegistration* wanted,
                                const ERClassRegistration* found);

// The parameter's name must not be that of a member of the object's class, where it is looked up first.
template <class DirectBase, class Object>
void* castdownThroughBase(const Object& object, const ERClassRegistration& wanted) {
    return object.DirectBase::_castdown(wanted);
}

/// Asks each base in turn for its part of the class `wanted`, and returns the last part found. One
/// that differs from an earlier one is reported to erreurCastDown.
template <class... Bases, class Object>
void* castdownThroughBases(const Object& object, const ERClassRegistration& wanted) {
    void* found = nullptr;
    const auto consider = [&](void* part) {
        if (part == nullptr) return;
        if (found != nullptr && part != found) erreurCastDown(&wanted, Object::desc());
        found = part;
    };
    (consider(castdownThroughBase<Bases>(object, wanted)), ...);
    return found;
}

/// What `X::castdown` calls. An object that is no X is reported to erreurCastDown and gives null.
template <class X, class Object>
X* castdownTo(Object* object) {
    if (object == nullptr) return nullptr;
    void* part = object->_castdown(*X::desc());
    if (part == nullptr) erreurCastDown(X::desc(), object->isA());
    return static_cast<X*>(part);
}

/// Whether a name is given without a namespace.
constexpr bool isPlainName(std::string_view name) { return name.find(':') == name.npos; }

/// Whether two classes, both outside other classes and no instances of templates, are of the same
/// namespace, as far as the compiler can say.
#if defined(__GNUC__)
template <class T>
consteval std::string_view enclosingNamespace() {
    std::string_view text = __PRETTY_FUNCTION__;
    text.remove_prefix(text.find("T = ") + 4);
    text = text.substr(0, text.find_first_of(";]"));
    const std::size_t end = text.rfind("::");
    return end == text.npos ? std::string_view() : text.substr(0, end);
}
template <class A, class B>
constexpr bool sameNamespace = enclosingNamespace<A>() == enclosingNamespace<B>();
#else
template <class A, class B>
constexpr bool sameNamespace = true;
#endif

/// Binds a reference that may be null, which the reference forms of `castdown` return on failure.
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

// The members that every class of the registry has. `castdown` of a pointer returns null for null and
// for an object of another class.
// Kept: `castdown` of a reference returns a null reference on failure, which must not be used;
//       callers that cannot be sure of the class take the pointer form, or ask isKindOf.
// `castdown` of a temporary t_SmartPtr returns an owner, as the temporary may be the last one.
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

/// In the body of a class derived from ERObject; the members after it are public.
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
    template <class Pointee, class Self = Class>                                                   \
    static ::kerf::t_SmartPtr<Self> castdown(::kerf::t_SmartPtr<Pointee>&& temporary) {            \
        return castdown(temporary.getObject());                                                    \
    }                                                                                              \
    static_assert(true, "asks for the semicolon")

#define ER_DESCRIPTORS(First, ...) First::desc() __VA_OPT__(, ER_FURTHER_DESCRIPTORS(__VA_ARGS__))
#define ER_FURTHER_DESCRIPTORS(First, ...) First::desc() __VA_OPT__(, __VA_ARGS__::desc())

#define ER_DEFINE_CLASS_RECORDS(Class, creatorFunction, ...)                                       \
    static_assert(::kerf::isPlainName(#Class),                                                     \
                  "a class is defined in its own namespace, by its name alone");                   \
    struct placeOf##Class;                                                                         \
    static_assert(::kerf::sameNamespace<Class, placeOf##Class>,                                    \
                  "a class is defined in its own namespace, by its name alone");                   \
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

/// In the source, for a class that can be built empty, to be filled by restoreGuts. The arguments
/// after the class are its direct bases in the registry, in the order in which the descriptor lists
/// them and _castdown asks them.
#define ER_DEFINE_CLASS(Class, ...)                                                          \
    ER_DEFINE_CLASS_RECORDS(                                                                 \
        Class, []() -> ::kerf::ERObject* { return new Class; }, ER_DESCRIPTORS(__VA_ARGS__)) \
    ER_DEFINE_CLASS_CASTS(Class, __VA_ARGS__)

/// In the source, for a class without a creator.
#define ER_DEFINE_ABSTRACT_CLASS(Class, ...)                             \
    ER_DEFINE_CLASS_RECORDS(Class, nullptr, ER_DESCRIPTORS(__VA_ARGS__)) \
    ER_DEFINE_CLASS_CASTS(Class, __VA_ARGS__)
