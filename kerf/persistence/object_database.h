#pragma once
#include <iosfwd>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "kerf/core/object.h"
#include "kerf/core/reference.h"
#include "kerf/core/smart_pointer.h"
#include "kerf/platform/standard_text.h"

namespace kerf {

class DiskTreePosition;
class ERBTreeOnDisk;
class ERFileManager;
class RecordFile;

/// Why a base did not open.
enum class OpenFailure {
    none,          ///< it did open, or was never asked to
    noSuchFile,    ///< and it was to be opened read-only
    emptyFile,     ///< a file without bytes is no database
    notADatabase,  ///< a file of another format
    damaged,       ///< begins as a database does, but its trees are not where they should be
    otherKind,     ///< a database, but without the index that an ERDataBase needs
    inUse,         ///< by another program, or by another base of this one
    fileError      ///< any other refusal of the system, as shown
};

/// Objects in one file, each a record of variable size found by its ID. A record begins with the
/// signature of its class, a small number that a tree of the file gives for the class name. IDs
/// start at 1 and are not given again, but after a crash (see Storage). An object that refers to
/// another holds its ID. There is no cache of loaded objects: an object that two others refer to
/// comes back twice.
///
/// For a file that is a list of objects prefer ERDataBase, which numbers them.
///
/// Failure: nothing of the library's own is thrown. The platform's CFileException passes when a
///          write fails; the object then keeps its former ID and database. Open catches the
///          exception and shows its text.
/// Storage: records and trees are the operating system's when a call returns; Close alone writes
///          the counters of the header. After a crash an ID that is in use is passed over, while
///          one that was given and deleted since the last Close may be given again.
/// Threads: one thread; the current database is shared by the whole process.
class KERF_EXPORT ERObjectDataBase : public ERReference {
public:
    ERObjectDataBase();
    ERObjectDataBase(const ERObjectDataBase&) = delete;
    ERObjectDataBase& operator=(const ERObjectDataBase&) = delete;
    /// Closes. theCurrentDataBase, and a new that is still to be attached, forget this base.
    virtual ~ERObjectDataBase();

    /// Opens the file of that name, or creates it unless readOnly is set. 1 when the base is open
    /// at the end. 0 for a file that is missing (read only), empty, or no database: its bytes stay
    /// as they are. After a file error, which is shown under the title "File Error", 0 too.
    ///
    /// Objects kept in memory stay attached when the base closes and opens the file again as it was
    /// left, whatever other files it opened in vain. Once it opens another file they are free: no
    /// record of that file is taken for theirs.
    /// When it returns 0, the debug text gives the reason too.
    virtual int Open(const char* name, int readOnly);
    int Open(const StandardText auto& name, int readOnly) {
        return Open(std::string(name).c_str(), readOnly);
    }
    /// Of the last Open.
    OpenFailure openFailure() const { return openFailure_; }
    virtual void Close();

    /// Writes the object as a new record, or as a new version of the one it has here: the former
    /// record is freed when the new one is complete. Returns the object's ID.
    /// Failure: -1 when the base is closed, when the file cannot grow, when a part of the object
    ///          cannot be stored, or when saveGuts writes more than binaryStoreSize announced. The
    ///          object, its former record and the space in the file are then as before. The last
    ///          case names the class and both sizes in the debug text; the checked build aborts
    ///          there, and reports a class that writes less than it announced.
    virtual ERLong Store(ERObject& object);

    /// Fills the object from the record of that ID, whatever class the record was stored from. 0
    /// when there is none. When a read fails, the object keeps its former ID and database.
    ///
    /// Inside restoreGuts the record ends where its block does: a read past it returns 0 and leaves
    /// the variable. A class that has got a further field can thus tell its older records; up to 7
    /// bytes after a record may be read as part of it.
    virtual int Retrieve(ERLong id, ERObject& object);

    /// Builds the object of that ID. Null when there is none, when its class is unknown to this
    /// program or abstract (which the debug text says), when its record is being read already (records that refer to each other
    /// in a ring), or when the chain of references that leads to it is as deep as the stack allows
    /// (some ten thousand).
    virtual t_SmartPtr<ERObject> RetrieveAndCreate(ERLong id);

    /// Frees the record. 0 when there is none.
    /// Kept: getNbObj() stays as it is; it counts the objects ever stored.
    virtual int Delete(ERLong id);

    /// Lists the classes and the objects of the file.
    virtual void summarize(std::ostream& os);

    /// The signature of a class; -1 for a class that the base does not know.
    ERLong getSignature(const char* className);

    /// The signature that the record of that ID begins with; -1 when there is no such record.
    ERLong signatureOf(ERLong id);

    /// Stores a plain number under a new ID, which is returned (-1 on failure). Deleting the ID frees
    /// nothing.
    /// Kept: the file does not tell a number from a location. Deleted in a later session, a number
    ///       that is the location of a record frees that record.
    ERLong InsertSpecial(ERLong value);
    /// The number under that ID, or -1.
    ERLong ReadSpecial(ERLong id);
    /// Replaces the number under that ID; 0 when there is no such ID.
    int SetSpecial(ERLong id, ERLong value);

    /// Null while the base is closed.
    ERFileManager* fileManager();
    unsigned int getNbObj() const { return objectCount_; }

protected:
    ERLong GetOrCreateSignature(const char* className);

private:
    friend class ERObject;
    friend class ERDataBase;  // which adds its index to a new base

    // A file as this base left it.
    struct LeftFile {
        std::string path;
        ERLong lastObjectID = 0;
        ERULong objectCount = 0;
        ERULong lastSignature = 0;
        bool operator==(const LeftFile&) const = default;
    };
    struct NameHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view name) const {
            return std::hash<std::string_view>()(name);
        }
    };
    class PendingStore;
    class Restoring;
    struct StoredObject;

    OpenFailure openOrCreate(const char* name, int readOnly);
    bool create();
    OpenFailure openExisting();
    bool beginsAsHeap();
    void setFailure(OpenFailure reason, const char* name);
    void reportWriteWhenReadOnly() const;
    void reportUnknownClass(ERLong id, ERULong signature) const;
    void readClasses();
    void writeCounters();
    void closeFile();
    LeftFile asLeft() const;
    void attach(ERObject& object, ERLong id);
    ERLong freeID(DiskTreePosition& place);
    bool isWhole(const ERObject& object, ERULong announced) const;
    bool findObject(ERLong id, StoredObject& found);
    bool mayBeRecord(ERLong location) const;
    ERULong signatureAt(ERLong location);

    std::unique_ptr<RecordFile> file_;
    OpenFailure openFailure_ = OpenFailure::none;
    bool isNew_ = false;                         // this Open made the base
    std::unique_ptr<ERBTreeOnDisk> classTree_;   // class name, up to 60 bytes, to signature
    std::unique_ptr<ERBTreeOnDisk> objectTree_;  // object ID to record location
    ERLong classTreeLocation_ = -1;
    ERLong objectTreeLocation_ = -1;
    ERULong opening_ = 0;  // of one file, however often it is opened; no two bases share one
    LeftFile left_;
    ERLong lastObjectID_ = 0;
    ERULong objectCount_ = 0;
    ERULong lastSignature_ = 0;
    std::unordered_map<std::string, ERULong, NameHash, std::equal_to<>> signatures_;
    std::unordered_map<ERULong, ERClassRegistration::Creator> creators_;
    std::unordered_set<ERLong> specials_;  // IDs known to hold plain numbers
    std::unique_ptr<Restoring> restoring_;
    unsigned int storeDepth_ = 0;
    unsigned int refusedStores_ = 0;  // stores and references that failed so far
};

}  // namespace kerf
