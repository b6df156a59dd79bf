#pragma once
#include <cstddef>
#include <iosfwd>

#include "kerf/core/class_registry.h"
#include "kerf/core/reference.h"
#include "kerf/platform/config.h"
#include "kerf/platform/root_object.h"

// Threads: the library starts no threads. An object, a container or a string, and whatever shares its
// storage, is used by one thread at a time: counts of owners are not atomic. Free blocks and pools
// belong to their thread and need no lock. Work on databases belongs to one thread at a time in the
// whole process, since ERObject::theCurrentDataBase and the hand-over of an allocation to a database
// are process-wide.
namespace kerf {

class CArchive;
class CDumpContext;
class ERFile;
class ERObjectDataBase;
template <class T>
class t_SmartPtr;

/// The root of everything that is stored, cloned, printed or cast by its run-time class.
///
/// A new object has no identity: its ID is -1, it has no database and is clean. Save attaches it to a
/// database and makes it clean; Delete detaches it. A copy, and an object that is assigned to, have no
/// identity; an object loses its own when its database opens another file. A class that changes a
/// stored object calls setDirty().
/// Ownership: counted by ERReference; t_SmartPtr deletes the object with the last reference. An
///            object that no smart pointer ever held is deleted by its owner. The database is not
///            owned.
/// Storage:   binaryStoreSize() is the number of bytes that saveGuts writes. A derived class calls
///            its base first in saveGuts, restoreGuts and binaryStoreSize.
class KERF_EXPORT ERObject : public CObject, public ERReference {
    ER_OBJECT_CLASS_RECORDS(ERObject)

    ~ERObject() override;
    void Serialize(CArchive& archive) override;
    void AssertValid() const override;
    /// The class name and the text of printOn.
    void Dump(CDumpContext& context) const override;

    virtual const ERClassRegistration* isA() const;
    virtual const char* className() const;
    /// The address of the object's part of the class `wanted`; null when it has none.
    virtual void* _castdown(const ERClassRegistration& wanted) const;
    static ERObject* castdown(ERObject* object) { return object; }
    static const ERObject* castdown(const ERObject* object) { return object; }
    static ERObject* castdown(std::nullptr_t) { return nullptr; }
    static ERObject& castdown(ERObject& object) { return object; }
    static const ERObject& castdown(const ERObject& object) { return object; }
    template <class Pointee, class Self = ERObject>
    static t_SmartPtr<Self> castdown(t_SmartPtr<Pointee>&& temporary) {
        return castdown(temporary.getObject());
    }

    /// A new heap copy, owned by the caller, without identity. The body in ERObject returns null.
    virtual ERObject* getCopy() const = 0;
    virtual int isKindOf(const ERClassRegistration* c) const;
    /// Kept: 1 for the object's own class only. c's list of members is searched, not that of its
    ///       bases, and every class leaves it empty.
    virtual int isMemberOf(const ERClassRegistration* c) const;
    virtual int isValid() const;
    /// Readable text of the object. The body in ERObject writes nothing.
    virtual void printOn(std::ostream& os) const = 0;
    virtual void saveGuts(ERFile& file) const;
    virtual void restoreGuts(ERFile& file);
    virtual ERULong binaryStoreSize() const;
    /// Drops cached helper objects, where a class keeps some.
    virtual void CleanUpTemporaries(int level);
    /// Deletes the record in the database; the object in memory stays. Returns 0 for an object without
    /// a database or a record that is not there.
    virtual int Delete();
    /// Stores the object in `target` when that is given and is not the object's own database; else in
    /// its own database, if the object is dirty.
    /// Failure: 0 without any database, or when the database could not take the record. The object
    ///          then keeps its former ID and database and stays dirty.
    /// Kept: an object stays dirty until its record is complete, so a ring of references between dirty
    ///       objects is followed until the stack is short, or 100 000 records deep, and is not saved.
    virtual int Save(ERObjectDataBase* target);
    /// Reads nothing: returns 1 when an ID and a database are known, each from the arguments or the
    /// object.
    virtual int Load(ERLong id, ERObjectDataBase* source);

    ERLong getObjectID() const { return objectID_; }  ///< -1 without a record
    ERObjectDataBase* Database() const { return database_; }
    void setDirty() { dirty_ = true; }
    int isDirty() const { return dirty_ ? 1 : 0; }
    /// 1 for an object built by the `new` of ERObject, 0 for any other.
    int isOnTheHeap() const { return onTheHeap_ ? 1 : 0; }

    /// Hands an invalid object's class name to ER_assert.
    void assertValid(const char* file, int line) const;

    /// Writes a reference to this object into the record of another: the object is stored as a
    /// record of its own in theCurrentDataBase when it is new or dirty, and its ID goes to the
    /// file.
    void recursiveSaveOn(ERFile& file);
    /// Reads such a reference and builds the object; null for an ID that the database does not have.
    static t_SmartPtr<ERObject> recursiveRestoreFrom(ERFile& file);
    /// The bytes of a reference in the referring record.
    ERULong recursiveStoreSize() const { return 4; }

    static void* operator new(std::size_t size);
    static void* operator new(std::size_t size, const char* file, int line);
    /// The next ERObject that is built stores itself in the database, as a plain ERObject.
    static void* operator new(std::size_t size, ERObjectDataBase* database);
    static void operator delete(void* memory);
    static void operator delete(void* memory, const char* file, int line);
    static void operator delete(void* memory, ERObjectDataBase* database);

    /// The database of the store or retrieval that ran last, used by references between objects.
    static ERObjectDataBase* theCurrentDataBase;
    static int m_NextAllocationOnDatabase;
    static ERObjectDataBase* m_DatabaseForNextAllocation;

protected:
    ERObject();
    /// A copy has no identity.
    ERObject(const ERObject&);
    /// The object that is assigned to loses its identity; its count of owners stays.
    ERObject& operator=(const ERObject&);

private:
    friend class ERObjectDataBase;

    // Whether the object has a record in the file that its database has open, or had open last.
    bool isAttached() const;

    ERLong objectID_ = -1;
    ERObjectDataBase* database_ = nullptr;
    ERULong opening_ = 0;  // of the database: which file the ID belongs to
    bool dirty_ = false;
    bool onTheHeap_;
};

/// A place for a debugger to stop at: formats "Erreur : %s \n Fichier %s Ligne %d" into a local
/// buffer of 256 bytes, and neither prints nor throws.
KERF_EXPORT void ER_assert(const void* text, const char* file, int line);

KERF_EXPORT std::ostream& operator<<(std::ostream& os, const ERObject& object);

/// The guts alone, without a class tag: the reader must know the type.
KERF_EXPORT ERFile& operator<<(ERFile& file, const ERObject& object);
KERF_EXPORT ERFile& operator>>(ERFile& file, ERObject& object);

}  // namespace kerf
