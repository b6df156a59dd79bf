#include "kerf/persistence/object_database.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <ostream>
#include <string_view>
#include <utility>

#include "kerf/persistence/disk_btree.h"
#include "kerf/persistence/internal/heap_layout.h"
#include "kerf/persistence/internal/nested_ids.h"
#include "kerf/persistence/internal/number_key.h"
#include "kerf/persistence/internal/record_file.h"
#include "kerf/platform/exceptions.h"
#include "kerf/platform/internal/stack.h"
#include "kerf/platform/sinks.h"

namespace kerf {

// The header of a database, at the root of the file:
//     offset  size
//     0       4     magic, 1000
//     4       4     location of the class tree
//     8       4     location of the object tree
//     12      4     last ID given
//     16      4     number of objects
//     20      4     last signature given
// Its block is allocated with 20 bytes: the last word lies on the size word of the next block, the
// info record of the class tree, which is never freed. Files are read back only with this layout.
namespace {

constexpr int databaseMagic = 1000;
constexpr ERULong headerBlockSize = 20;
constexpr ERLong countersOffset = 12;
constexpr unsigned int classNameLength = 60;
constexpr unsigned int treeOrder = 10;
constexpr unsigned int smallCache = 10;
constexpr unsigned int largeCache = 1000;
constexpr ERULong signatureSize = 4;
constexpr ERULong sizeWordSize = 4;
constexpr unsigned int deepestRecord = 100000;  // records inside records

ERULong lastOpening = 0;  // of all bases in the process

// Says in the debug text that a class has written another size than it announced.
void reportSize(const ERObject& object, ERULong announced, std::uint64_t written) {
    outputDebugText((std::string(object.className()) + " announced " + std::to_string(announced) +
                     " bytes and wrote " + std::to_string(written) + "\n")
                        .c_str());
}

const char* textOf(OpenFailure reason) {
    switch (reason) {
        case OpenFailure::none:
            break;
        case OpenFailure::noSuchFile:
            return "there is no such file";
        case OpenFailure::emptyFile:
            return "the file is empty";
        case OpenFailure::notADatabase:
            return "not a database";
        case OpenFailure::damaged:
            return "a damaged database";
        case OpenFailure::otherKind:
            return "a database without numbered objects";
        case OpenFailure::inUse:
            return "in use by another program";
        case OpenFailure::fileError:
            return "the system refused it";
    }
    return "";
}

// Whether an opening failed because another one denies it.
bool isDenied(const CFileException& failure) {
    if (std::string_view(failure.operation()) != "open") return false;
#if defined(_WIN32)
    constexpr int sharingViolation = 32;
    return failure.code() == std::error_code(sharingViolation, std::system_category());
#else
    return failure.code() == std::errc::operation_would_block;
#endif
}

std::string_view cutName(const char* name) {
    return std::string_view(name, strnlen(name, classNameLength));
}

// The key of a class in the tree, padded with zeros as far as the tree copies it.
std::string classKey(std::string_view name) {
    std::string key(name);
    key.resize(classNameLength + 1, '\0');
    return key;
}

}  // namespace

ERObjectDataBase::ERObjectDataBase() : restoring_(std::make_unique<Restoring>()) {}

ERObjectDataBase::~ERObjectDataBase() {
    try {
        ERObjectDataBase::Close();
    } catch (const CFileException& failure) {
        showMessage("File Error", failure.what());
    }
    if (ERObject::theCurrentDataBase == this) ERObject::theCurrentDataBase = nullptr;
    if (ERObject::m_DatabaseForNextAllocation == this) {
        ERObject::m_NextAllocationOnDatabase = 0;
        ERObject::m_DatabaseForNextAllocation = nullptr;
    }
}

int ERObjectDataBase::Open(const char* name, int readOnly) {
    try {
        if (file_ != nullptr) Close();
        setFailure(openOrCreate(name, readOnly), name);
        if (openFailure_ != OpenFailure::none) closeFile();
        if (file_ != nullptr && (isNew_ || asLeft() != left_)) opening_ = ++lastOpening;
    } catch (const CFileException& failure) {
        showMessage("File Error", failure.what());
        setFailure(isDenied(failure) ? OpenFailure::inUse : OpenFailure::fileError, name);
        closeFile();
    } catch (...) {
        closeFile();
        throw;
    }
    return file_ != nullptr ? 1 : 0;
}

void ERObjectDataBase::setFailure(OpenFailure reason, const char* name) {
    openFailure_ = reason;
    if (reason != OpenFailure::none)
        outputDebugText((std::string(name) + ": " + textOf(reason) + "\n").c_str());
}

void ERObjectDataBase::reportWriteWhenReadOnly() const {
    if (file_->isReadOnly())
        outputDebugText((file_->GetFilePath() + ": opened read-only\n").c_str());
}

void ERObjectDataBase::reportUnknownClass(ERLong id, ERULong signature) const {
    std::string text = "object " + std::to_string(id) + ": unknown class";
    for (const auto& [name, known] : signatures_)
        if (known == signature) text += " " + name;
    outputDebugText((text + "\n").c_str());
}

// Whether the file exists is asked once, and a wrong reply does no harm: a file that is there is
// never emptied, and one that has a root is a database, or none, whoever made it and when.
OpenFailure ERObjectDataBase::openOrCreate(const char* name, int readOnly) {
    const bool exists = ERFile::Exists(name) != 0;
    if (exists) {
        // An empty file is no database, and making a file manager of it would write into it.
        ERFile probe(name, CFile::modeRead | CFile::shareDenyNone | CFile::typeBinary);
        if (probe.IsEmpty()) return OpenFailure::emptyFile;
    } else if (readOnly) {
        return OpenFailure::noSuchFile;
    }
    using Missing = RecordFile::Missing;
    file_ = std::make_unique<RecordFile>(name, readOnly,
                                         exists ? Missing::isFailure : Missing::isCreated);
    if (exists || file_->start() != -1) return openExisting();
    isNew_ = create();
    return isNew_ ? OpenFailure::none : OpenFailure::notADatabase;
}

// False, with the file as it was, when it is no heap.
bool ERObjectDataBase::create() {
    const ERLong header = file_->allocate(headerBlockSize);
    if (header == -1) return false;
    classTree_ = std::make_unique<ERBTreeOnDisk>(*file_, smallCache, ERBTreeOnDisk::create,
                                                 classNameLength, 0, -1, treeOrder, treeOrder);
    objectTree_ = std::make_unique<ERBTreeOnDisk>(*file_, largeCache, ERBTreeOnDisk::create,
                                                  NumberKey::length, 1, -1, treeOrder, treeOrder);
    classTreeLocation_ = classTree_->baseLocation();
    objectTreeLocation_ = objectTree_->baseLocation();
    const int words[] = {databaseMagic, classTreeLocation_, objectTreeLocation_, 0, 0, 0};
    file_->SeekTo(header);
    file_->Write(words, 6);
    return true;
}

bool ERObjectDataBase::beginsAsHeap() {
    int words[heap::headerWords] = {};
    file_->SeekTo(heap::rootField);
    return file_->Read(words, heap::headerWords) && words[2] == heap::nodeSize;
}

OpenFailure ERObjectDataBase::openExisting() {
    const ERLong header = file_->start();
    int words[6] = {};
    if (header < 0 || file_->SeekTo(header) != header || !file_->Read(words, 6))
        return beginsAsHeap() ? OpenFailure::damaged : OpenFailure::notADatabase;
    if (words[0] != databaseMagic) return OpenFailure::notADatabase;
    classTreeLocation_ = words[1];
    objectTreeLocation_ = words[2];
    lastObjectID_ = std::max(words[3], 0);
    objectCount_ = static_cast<ERULong>(words[4]);
    lastSignature_ = static_cast<ERULong>(std::max(words[5], 0));
    if (!ERBTreeOnDisk::canHaveInfoAt(*file_, classTreeLocation_)) return OpenFailure::damaged;
    if (!ERBTreeOnDisk::canHaveInfoAt(*file_, objectTreeLocation_)) return OpenFailure::damaged;
    classTree_ =
        std::make_unique<ERBTreeOnDisk>(*file_, smallCache, ERBTreeOnDisk::open, classNameLength, 0,
                                        classTreeLocation_, treeOrder, treeOrder);
    objectTree_ =
        std::make_unique<ERBTreeOnDisk>(*file_, largeCache, ERBTreeOnDisk::open, NumberKey::length,
                                        1, objectTreeLocation_, treeOrder, treeOrder);
    if (classTree_->keyLength() != classNameLength || classTree_->ignoreNulls() ||
        objectTree_->keyLength() != NumberKey::length || !objectTree_->ignoreNulls())
        return OpenFailure::damaged;
    readClasses();
    return OpenFailure::none;
}

// Fills the maps from the class tree. Signatures given after the last clean close are in the tree
// but not in the header; they must not be given again.
void ERObjectDataBase::readClasses() {
    classTree_->applyToKeyAndValue(
        [](const char* key, ERLong value, void* data) {
            ERObjectDataBase& base = *static_cast<ERObjectDataBase*>(data);
            const std::string name(cutName(key));
            const ERULong signature = static_cast<ERULong>(value);
            base.signatures_.emplace(name, signature);
            base.creators_.emplace(signature, ERClassRegistration::findCreator(name.c_str()));
            if (value > 0) base.lastSignature_ = std::max(base.lastSignature_, signature);
        },
        this, 1);
}

void ERObjectDataBase::Close() {
    signatures_.clear();
    if (objectTree_ != nullptr) {
        left_ = {};
        LeftFile closed = asLeft();
        if (!file_->isReadOnly()) writeCounters();
        left_ = std::move(closed);
    }
    closeFile();
}

ERObjectDataBase::LeftFile ERObjectDataBase::asLeft() const {
    return {file_->GetFilePath(), lastObjectID_, objectCount_, lastSignature_};
}

void ERObjectDataBase::attach(ERObject& object, ERLong id) {
    object.objectID_ = id;
    object.database_ = this;
    object.opening_ = opening_;
}

void ERObjectDataBase::writeCounters() {
    const int words[] = {lastObjectID_, static_cast<int>(objectCount_),
                         static_cast<int>(lastSignature_)};
    try {
        file_->SeekTo(file_->start() + countersOffset);
        file_->Write(words, 3);
    } catch (...) {
        closeFile();
        throw;
    }
}

void ERObjectDataBase::closeFile() {
    classTree_.reset();
    objectTree_.reset();
    file_.reset();
    isNew_ = false;
    signatures_.clear();
    creators_.clear();
    specials_.clear();
    classTreeLocation_ = objectTreeLocation_ = -1;
    lastObjectID_ = 0;
    objectCount_ = lastSignature_ = 0;
}

ERLong ERObjectDataBase::GetOrCreateSignature(const char* className) {
    if (file_ == nullptr) return -1;
    const std::string_view name = cutName(className);
    if (const auto known = signatures_.find(name); known != signatures_.end())
        return static_cast<ERLong>(known->second);
    const std::string key = classKey(name);
    ERLong signature = classTree_->findValue(key.c_str());
    if (signature == -1) {
        if (lastSignature_ >= static_cast<ERULong>(std::numeric_limits<ERLong>::max())) return -1;
        signature = static_cast<ERLong>(lastSignature_ + 1);
        if (!classTree_->insertKeyAndValue(key.c_str(), signature)) return -1;
        ++lastSignature_;
    }
    // In this order: a name that is known has its creator, even when memory runs out in between.
    creators_.emplace(static_cast<ERULong>(signature), ERClassRegistration::findCreator(className));
    signatures_.emplace(name, static_cast<ERULong>(signature));
    return signature;
}

ERLong ERObjectDataBase::getSignature(const char* className) {
    if (file_ == nullptr) return -1;
    const std::string_view name = cutName(className);
    if (const auto known = signatures_.find(name); known != signatures_.end())
        return static_cast<ERLong>(known->second);
    return classTree_->findValue(classKey(name).c_str());
}

// What one Store has changed so far. Unless it is completed, the object, the counters, the place in
// the file and the record being assembled are put back as they were, whether the store returns a
// failure or an exception of the platform passes.
class ERObjectDataBase::PendingStore {
public:
    PendingStore(ERObjectDataBase& targetBase, ERObject& stored)
        : base(targetBase),
          object(stored),
          formerID(stored.objectID_),
          formerDatabase(stored.database_),
          formerOpening(stored.opening_),
          position(targetBase.file_->CurOffset()),
          isNew(stored.objectID_ == -1 || stored.database_ != &targetBase || !stored.isAttached()) {
        ++base.storeDepth_;
    }

    ~PendingStore() {
        --base.storeDepth_;
        if (recordOpen) base.file_->abandonRecord();
        base.file_->Seek(position, CFile::begin);
        if (complete) return;
        object.objectID_ = formerID;
        object.database_ = formerDatabase;
        object.opening_ = formerOpening;
        if (!isNew || id == -1) return;
        --base.objectCount_;
        // Objects that this one refers to may have taken later IDs already.
        if (base.lastObjectID_ == id) --base.lastObjectID_;
    }

    // Gives the object the ID that its record will have: its parts may refer back to it.
    bool identify() {
        id = isNew ? base.freeID(place) : formerID;
        if (id == -1) return false;
        if (isNew) {
            base.lastObjectID_ = id;
            ++base.objectCount_;
        }
        base.attach(object, id);
        return true;
    }

    ERLong fail() {
        ++base.refusedStores_;
        return -1;
    }

    ERObjectDataBase& base;
    ERObject& object;
    const ERLong formerID;
    ERObjectDataBase* const formerDatabase;
    const ERULong formerOpening;
    const ERLong position;  // this store may run inside the saveGuts of another object
    const bool isNew;
    ERLong id = -1;
    DiskTreePosition place;  // of a new ID in the object tree
    bool recordOpen = false;
    bool complete = false;
};

ERLong ERObjectDataBase::Store(ERObject& object) {
    if (file_ == nullptr) return -1;
    reportWriteWhenReadOnly();
    PendingStore pending(*this, object);
    if (stackIsShort() || storeDepth_ > deepestRecord || !pending.identify()) return pending.fail();
    const ERLong signature = GetOrCreateSignature(object.className());
    if (signature == -1) return pending.fail();
    ERObject::theCurrentDataBase = this;

    const ERULong size = object.binaryStoreSize();
    if (size > static_cast<ERULong>(std::numeric_limits<ERLong>::max())) return pending.fail();
    const ERLong location = file_->beginRecord(size + signatureSize);
    if (location == -1) return pending.fail();
    pending.recordOpen = true;
    const unsigned int refusedBefore = refusedStores_;
    file_->Write(signature);
    object.saveGuts(*file_);
    ERObject::theCurrentDataBase = this;
    if (!isWhole(object, size)) return pending.fail();
    // A record whose parts could not be stored would refer to nothing.
    if (refusedStores_ != refusedBefore) return pending.fail();
    file_->endRecord();
    pending.recordOpen = false;

    ERLong formerLocation = -1;
    const NumberKey key(pending.id);
    const bool entered = pending.isNew ? objectTree_->insertAt(pending.place, location)
                                       : objectTree_->replaceValue(key, location, formerLocation) ||
                                             objectTree_->insertKeyAndValue(key, location);
    if (!entered) {
        file_->deallocate(location);
        return pending.fail();
    }
    pending.complete = true;
    if (mayBeRecord(formerLocation)) file_->deallocate(formerLocation);
    return pending.id;
}

// Whether saveGuts has kept to the size that the object announced.
bool ERObjectDataBase::isWhole(const ERObject& object, ERULong announced) const {
    const std::uint64_t written = file_->writtenToRecord() - signatureSize;
    if (written > announced) {
        reportSize(object, announced, written);
        KERF_CHECK_ARGUMENT(written <= announced);
        return false;
    }
#if defined(KERF_CHECKED)
    if (written < announced) reportSize(object, announced, written);
#endif
    return true;
}

// The first ID after the last one given that the tree does not hold; -1 when there is none left.
// After a crash the tree holds IDs that were given after the header's last one.
ERLong ERObjectDataBase::freeID(DiskTreePosition& place) {
    for (ERLong id = lastObjectID_; id < std::numeric_limits<ERLong>::max();) {
        place = objectTree_->seek(NumberKey(++id));
        if (!place.isFound()) return id;
    }
    return -1;
}

// Whether a record of this file can lie there: after the trees' info records, before the end.
bool ERObjectDataBase::mayBeRecord(ERLong location) const {
    const ERLong first = std::max(classTreeLocation_, objectTreeLocation_);
    return location % 4 == 0 && location > first && location < file_->endData();
}

// A record as it lies in the file.
struct ERObjectDataBase::StoredObject {
    ERULong signature = 0;
    RecordFile::Range bytes;
};

// False when there is none to be read.
bool ERObjectDataBase::findObject(ERLong id, StoredObject& found) {
    const ERLong location = objectTree_->findValue(NumberKey(id));
    return location != -1 && mayBeRecord(location) &&
           file_->findRecord(location, found.signature, found.bytes);
}

ERLong ERObjectDataBase::signatureOf(ERLong id) {
    StoredObject found;
    if (file_ == nullptr || !findObject(id, found)) return -1;
    return static_cast<ERLong>(found.signature);
}

// What one call from outside restores: the object and, inside it, those that it refers to. In a
// sound file no two records that are read inside each other share a byte, and few come back more
// than once; a damaged one could ask for any amount of memory.
class ERObjectDataBase::Restoring {
public:
    // One object, for as long as it is being read.
    class Entry {
    public:
        // Into an object that the caller has made.
        Entry(Restoring& whole, const StoredObject& object, std::int64_t fileLength)
            : whole_(whole) {
            if (whole_.depth_++ == 0) whole_.cost_ = 0;
            admitted_ = whole_.depth_ == 1 || whole_.admits(object, fileLength);
        }
        // Into a new object; `id` must not be open.
        Entry(Restoring& whole, const StoredObject& object, std::int64_t fileLength, ERLong id)
            : Entry(whole, object, fileLength) {
            const std::int64_t bytes = bytesOf(object, fileLength);
            if (whole_.depth_ > 1 && whole_.openBytes_ + bytes > fileLength) admitted_ = false;
            if (!admitted_) return;
            whole_.ids_.push(id);
            whole_.openBytes_ += bytes;
            openBytes_ = bytes;
        }
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;
        ~Entry() {
            --whole_.depth_;
            if (openBytes_ == 0) return;
            whole_.ids_.pop();
            whole_.openBytes_ -= openBytes_;
        }
        bool isAdmitted() const { return admitted_; }

    private:
        Restoring& whole_;
        bool admitted_ = false;
        std::int64_t openBytes_ = 0;
    };

    bool isOpen(ERLong id) const { return ids_.contains(id); }
    bool isDeep() const { return depth_ >= deepestRecord; }

private:
    static std::int64_t bytesOf(const StoredObject& object, std::int64_t fileLength) {
        const std::int64_t last = std::min(object.bytes.end, fileLength);
        return last - object.bytes.start + signatureSize + sizeWordSize;
    }

    bool admits(const StoredObject& object, std::int64_t fileLength) {
        constexpr std::int64_t objectCost = 100;  // about what an empty object takes in memory
        constexpr std::int64_t freeCost = 16 << 20;
        constexpr std::int64_t timesTheFile = 16;
        cost_ += objectCost + bytesOf(object, fileLength);
        return cost_ <= freeCost + timesTheFile * fileLength;
    }

    NestedIDs ids_;
    unsigned int depth_ = 0;
    std::int64_t openBytes_ = 0;
    std::int64_t cost_ = 0;
};

int ERObjectDataBase::Retrieve(ERLong id, ERObject& object) {
    if (file_ == nullptr) return 0;
    ERObject::theCurrentDataBase = this;
    StoredObject found;
    if (!findObject(id, found)) return 0;
    const Restoring::Entry entry(*restoring_, found, file_->GetLength());
    if (!entry.isAdmitted()) return 0;
    const ERLong formerID = object.objectID_;
    ERObjectDataBase* const formerDatabase = object.database_;
    const ERULong formerOpening = object.opening_;
    attach(object, id);
    try {
        const RecordFile::Reading reading(*file_, found.bytes);
        object.restoreGuts(*file_);
    } catch (...) {
        object.objectID_ = formerID;
        object.database_ = formerDatabase;
        object.opening_ = formerOpening;
        throw;
    }
    return 1;
}

t_SmartPtr<ERObject> ERObjectDataBase::RetrieveAndCreate(ERLong id) {
    if (file_ == nullptr) return {};
    ERObject::theCurrentDataBase = this;
    if (stackIsShort() || restoring_->isDeep() || restoring_->isOpen(id)) return {};
    StoredObject found;
    if (!findObject(id, found)) return {};
    const auto known = creators_.find(found.signature);
    if (known == creators_.end() || known->second == nullptr) {
        reportUnknownClass(id, found.signature);
        return {};
    }
    const Restoring::Entry entry(*restoring_, found, file_->GetLength(), id);
    if (!entry.isAdmitted()) return {};

    t_SmartPtr<ERObject> object(known->second());
    attach(*object, id);
    const RecordFile::Reading reading(*file_, found.bytes);
    object->restoreGuts(*file_);
    return object;
}

int ERObjectDataBase::Delete(ERLong id) {
    if (file_ == nullptr) return 0;
    reportWriteWhenReadOnly();
    ERLong location = -1;
    if (!objectTree_->removeKeyAndValue(NumberKey(id), location)) return 0;
    const bool isPlainNumber = specials_.erase(id) != 0;
    if (!isPlainNumber && mayBeRecord(location)) {
        const ERULong signature = signatureAt(location);
        if (signature != 0 && signature <= lastSignature_) file_->deallocate(location);
    }
    return 1;
}

// 0 when no record can begin there.
ERULong ERObjectDataBase::signatureAt(ERLong location) {
    unsigned int signature = 0;
    if (!mayBeRecord(location)) return 0;
    file_->SeekTo(location);
    return file_->Read(&signature, 1) ? signature : 0;
}

ERLong ERObjectDataBase::InsertSpecial(ERLong value) {
    DiskTreePosition place;
    const ERLong id = file_ == nullptr ? -1 : freeID(place);
    if (id == -1 || !objectTree_->insertAt(place, value)) return -1;
    lastObjectID_ = id;
    specials_.insert(id);
    return id;
}

ERLong ERObjectDataBase::ReadSpecial(ERLong id) {
    return file_ == nullptr ? -1 : objectTree_->findValue(NumberKey(id));
}

int ERObjectDataBase::SetSpecial(ERLong id, ERLong value) {
    if (file_ == nullptr) return 0;
    ERLong former = -1;
    if (!objectTree_->replaceValue(NumberKey(id), value, former)) return 0;
    specials_.insert(id);
    return 1;
}

ERFileManager* ERObjectDataBase::fileManager() { return file_.get(); }

void ERObjectDataBase::summarize(std::ostream& os) {
    if (file_ == nullptr) return;
    const std::string stars(61, '*');
    const std::string dashes(44, '-');
    os << stars << '\n'
       << "  Base de Donn\xE9"
          "es :  "
       << file_->GetFilePath() << '\n'
       << stars << '\n'
       << " File Manager : " << '\n'
       << dashes << '\n'
       << "liste des classes presentes  : " << '\n';
    classTree_->applyToKeyAndValue(
        [](const char* key, ERLong signature, void* data) {
            std::ostream& out = *static_cast<std::ostream*>(data);
            out << " Signature ";
            out.width(8);
            out << signature << " :  " << cutName(key) << '\n';
        },
        &os, 1);
    os << dashes << '\n'
       << "|       liste des objects                  |" << '\n'
       << dashes << '\n'
       << "|ObjectID | Location | Signature             |" << '\n';
    struct Listing {
        ERObjectDataBase& base;
        std::ostream& out;
    } listing{*this, os};
    objectTree_->applyToKeyAndValue(
        [](const char* key, ERLong location, void* data) {
            Listing& list = *static_cast<Listing*>(data);
            list.out << "| ";
            list.out.width(8);
            list.out << NumberKey::numberOf(key) << "| ";
            list.out.width(8);
            list.out << location << " | ";
            list.out.width(8);
            list.out << list.base.signatureAt(location) << '\n';
        },
        &listing, 1);
}

}  // namespace kerf
