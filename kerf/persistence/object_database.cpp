#include "kerf/persistence/object_database.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <ostream>
#include <string_view>
#include <utility>

#include "kerf/persistence/disk_btree.h"
#include "kerf/persistence/number_key.h"
#include "kerf/persistence/record_file.h"
#include "kerf/platform/exceptions.h"
#include "kerf/platform/sinks.h"
#include "kerf/platform/stack.h"

namespace kerf {

// The header of a database, at the root of the file:
//     offset  size
//     0       4     magic, 1000
//     4       4     location of the class tree
//     8       4     location of the object tree
//     12      4     last ID given
//     16      4     number of objects
//     20      4     last signature given
// Its block is allocated with 20 bytes: the last word lies on the size word of the block behind it,
// the info record of the class tree, which is never freed. Files are read back only with this
// layout.
namespace {

constexpr int databaseMagic = 1000;
constexpr ERULong headerBlockSize = 20;
constexpr ERLong countersOffset = 12;
constexpr unsigned int classNameLength = 60;
constexpr unsigned int treeOrder = 10;
constexpr unsigned int smallCache = 10;
constexpr unsigned int largeCache = 1000;
constexpr ERULong treeInfoSize = 40;
constexpr ERULong signatureSize = 4;

std::string_view cutName(char const* name) {
    return std::string_view(name, strnlen(name, classNameLength));
}

// The key of a class in the tree, padded with zeros as far as the tree copies it.
std::string classKey(std::string_view name) {
    std::string key(name);
    key.resize(classNameLength + 1, '\0');
    return key;
}

}  // namespace

ERObjectDataBase::ERObjectDataBase() = default;

ERObjectDataBase::~ERObjectDataBase() {
    try {
        ERObjectDataBase::Close();
    } catch (CFileException const& failure) {
        showMessage("File Error", failure.what());
    }
    if (ERObject::theCurrentDataBase == this) ERObject::theCurrentDataBase = nullptr;
    if (ERObject::m_DatabaseForNextAllocation == this) {
        ERObject::m_NextAllocationOnDatabase = 0;
        ERObject::m_DatabaseForNextAllocation = nullptr;
    }
}

int ERObjectDataBase::Open(char const* name, int readOnly) {
    try {
        if (file != nullptr) Close();
        if (ERFile::Exists(name)) {
            if (!openExisting(name, readOnly)) closeFile();
        } else if (!readOnly) {
            create(name);
        }
    } catch (CFileException const& failure) {
        showMessage("File Error", failure.what());
        closeFile();
    } catch (...) {
        closeFile();
        throw;
    }
    return file != nullptr ? 1 : 0;
}

void ERObjectDataBase::create(char const* name) {
    file = std::make_unique<RecordFile>(name, 0);
    const ERLong header = file->allocate(headerBlockSize);
    classTree = std::make_unique<ERBTreeOnDisk>(*file, smallCache, ERBTreeOnDisk::create,
                                                classNameLength, 0, -1, treeOrder, treeOrder);
    objectTree = std::make_unique<ERBTreeOnDisk>(*file, largeCache, ERBTreeOnDisk::create,
                                                 NumberKey::length, 1, -1, treeOrder, treeOrder);
    classTreeLocation = classTree->baseLocation();
    objectTreeLocation = objectTree->baseLocation();
    const int words[] = {databaseMagic, classTreeLocation, objectTreeLocation, 0, 0, 0};
    file->SeekTo(header);
    file->Write(words, 6);
}

bool ERObjectDataBase::openExisting(char const* name, int readOnly) {
    {
        // An empty file is no database, and making a file manager of it would write into it.
        ERFile probe(name, CFile::modeRead | CFile::shareDenyNone | CFile::typeBinary);
        if (probe.IsEmpty()) return false;
    }
    file = std::make_unique<RecordFile>(name, readOnly);
    const ERLong header = file->start();
    int words[6] = {};
    if (header < 0 || file->SeekTo(header) != header || !file->Read(words, 6)) return false;
    if (words[0] != databaseMagic) return false;
    classTreeLocation = words[1];
    objectTreeLocation = words[2];
    lastObjectID = std::max(words[3], 0);
    objectCount = static_cast<ERULong>(words[4]);
    lastSignature = static_cast<ERULong>(std::max(words[5], 0));
    const auto holds = [this](ERLong location) {
        return location > file->start() && static_cast<ERULong>(location) + treeInfoSize <=
                                               static_cast<ERULong>(file->endData());
    };
    if (!holds(classTreeLocation) || !holds(objectTreeLocation)) return false;
    classTree =
        std::make_unique<ERBTreeOnDisk>(*file, smallCache, ERBTreeOnDisk::open, classNameLength, 0,
                                        classTreeLocation, treeOrder, treeOrder);
    objectTree =
        std::make_unique<ERBTreeOnDisk>(*file, largeCache, ERBTreeOnDisk::open, NumberKey::length,
                                        1, objectTreeLocation, treeOrder, treeOrder);
    if (classTree->keyLength() != classNameLength || classTree->ignoreNulls() ||
        objectTree->keyLength() != NumberKey::length || !objectTree->ignoreNulls())
        return false;
    readClasses();
    return true;
}

// Fills the maps from the class tree. Signatures given after the last clean close are in the tree
// but not in the header; they must not be given again.
void ERObjectDataBase::readClasses() {
    classTree->applyToKeyAndValue(
        [](char const* key, ERLong value, void* data) {
            ERObjectDataBase& base = *static_cast<ERObjectDataBase*>(data);
            const std::string name(cutName(key));
            const ERULong signature = static_cast<ERULong>(value);
            base.signatures.emplace(name, signature);
            base.creators.emplace(signature, ERClassRegistration::findCreator(name.c_str()));
            if (value > 0) base.lastSignature = std::max(base.lastSignature, signature);
        },
        this, 1);
}

void ERObjectDataBase::Close() {
    signatures.clear();
    if (objectTree != nullptr && !file->isReadOnly()) writeCounters();
    closeFile();
}

void ERObjectDataBase::writeCounters() {
    const int words[] = {lastObjectID, static_cast<int>(objectCount),
                         static_cast<int>(lastSignature)};
    try {
        file->SeekTo(file->start() + countersOffset);
        file->Write(words, 3);
    } catch (...) {
        closeFile();
        throw;
    }
}

void ERObjectDataBase::closeFile() {
    classTree.reset();
    objectTree.reset();
    file.reset();
    signatures.clear();
    creators.clear();
    specials.clear();
    classTreeLocation = objectTreeLocation = -1;
    lastObjectID = 0;
    objectCount = lastSignature = 0;
}

ERLong ERObjectDataBase::GetOrCreateSignature(char const* className) {
    if (file == nullptr) return -1;
    const std::string_view name = cutName(className);
    if (const auto known = signatures.find(name); known != signatures.end())
        return static_cast<ERLong>(known->second);
    const std::string key = classKey(name);
    ERLong signature = classTree->findValue(key.c_str());
    if (signature == -1) {
        if (lastSignature >= static_cast<ERULong>(std::numeric_limits<ERLong>::max())) return -1;
        signature = static_cast<ERLong>(lastSignature + 1);
        if (!classTree->insertKeyAndValue(key.c_str(), signature)) return -1;
        ++lastSignature;
    }
    signatures.emplace(name, static_cast<ERULong>(signature));
    creators.emplace(static_cast<ERULong>(signature), ERClassRegistration::findCreator(className));
    return signature;
}

ERLong ERObjectDataBase::getSignature(char const* className) {
    if (file == nullptr) return -1;
    const std::string_view name = cutName(className);
    if (const auto known = signatures.find(name); known != signatures.end())
        return static_cast<ERLong>(known->second);
    return classTree->findValue(classKey(name).c_str());
}

// What one Store has changed so far. Unless it is completed, the object, the counters, the place in
// the file and the record being assembled are put back as they were, whether the store answers a
// failure or an exception of the platform passes.
class ERObjectDataBase::PendingStore {
public:
    PendingStore(ERObjectDataBase& targetBase, ERObject& stored)
        : base(targetBase),
          object(stored),
          formerID(stored.objectID),
          formerDatabase(stored.database),
          position(targetBase.file->CurOffset()),
          isNew(stored.objectID == -1 || stored.database != &targetBase) {}

    ~PendingStore() {
        if (recordOpen) base.file->abandonRecord();
        base.file->Seek(position, CFile::begin);
        if (complete) return;
        object.objectID = formerID;
        object.database = formerDatabase;
        if (!isNew || id == -1) return;
        --base.objectCount;
        // Objects that this one refers to may have taken later IDs already.
        if (base.lastObjectID == id) --base.lastObjectID;
    }

    // Gives the object the ID that its record will have: its parts may refer back to it.
    bool identify() {
        id = isNew ? base.freeID() : formerID;
        if (id == -1) return false;
        if (isNew) {
            base.lastObjectID = id;
            ++base.objectCount;
        }
        object.objectID = id;
        object.database = &base;
        return true;
    }

    ERLong fail() {
        ++base.refusedStores;
        return -1;
    }

    ERObjectDataBase& base;
    ERObject& object;
    const ERLong formerID;
    ERObjectDataBase* const formerDatabase;
    const ERLong position;  // this store may run inside the saveGuts of another object
    const bool isNew;
    ERLong id = -1;
    bool recordOpen = false;
    bool complete = false;
};

ERLong ERObjectDataBase::Store(ERObject& object) {
    if (file == nullptr) return -1;
    PendingStore pending(*this, object);
    if (stackIsShort() || !pending.identify()) return pending.fail();
    const ERLong signature = GetOrCreateSignature(object.className());
    if (signature == -1) return pending.fail();
    ERObject::theCurrentDataBase = this;

    const ERULong size = object.binaryStoreSize();
    if (size > static_cast<ERULong>(std::numeric_limits<ERLong>::max())) return pending.fail();
    const ERLong location = file->beginRecord(size + signatureSize);
    if (location == -1) return pending.fail();
    pending.recordOpen = true;
    const unsigned int refusedBefore = refusedStores;
    file->Write(signature);
    object.saveGuts(*file);
    pending.recordOpen = false;
    file->endRecord();
    ERObject::theCurrentDataBase = this;

    // A record whose parts could not be stored would refer to nothing.
    bool entered = refusedStores == refusedBefore;
    ERLong formerLocation = -1;
    if (entered) {
        const NumberKey key(pending.id);
        entered = (!pending.isNew && objectTree->replaceValue(key, location, formerLocation)) ||
                  objectTree->insertKeyAndValue(key, location);
    }
    if (!entered) {
        file->deallocate(location);
        return pending.fail();
    }
    pending.complete = true;
    if (mayBeRecord(formerLocation)) file->deallocate(formerLocation);
    return pending.id;
}

// The first ID behind the last one that the tree does not hold (after a crash it holds some that
// the header does not know of); -1 when there is none left.
ERLong ERObjectDataBase::freeID() {
    for (ERLong id = lastObjectID; id < std::numeric_limits<ERLong>::max();)
        if (!objectTree->containsBeforeInsertion(NumberKey(++id))) return id;
    return -1;
}

// A location that a record of this file can have: behind the trees' info records, before the end.
bool ERObjectDataBase::mayBeRecord(ERLong location) const {
    const ERLong first = std::max(classTreeLocation, objectTreeLocation);
    return location % 4 == 0 && location > first && location < file->endData();
}

// The location of a record and the signature it begins with; -1 when there is none to be read.
ERLong ERObjectDataBase::findRecord(ERLong id, ERULong& signature) {
    const ERLong location = objectTree->findValue(NumberKey(id));
    if (location == -1 || !mayBeRecord(location)) return -1;
    unsigned int stored = 0;
    file->SeekTo(location);
    if (!file->Read(&stored, 1)) return -1;
    signature = stored;
    return location;
}

ERLong ERObjectDataBase::signatureOf(ERLong id) {
    ERULong signature = 0;
    if (file == nullptr || findRecord(id, signature) == -1) return -1;
    return static_cast<ERLong>(signature);
}

int ERObjectDataBase::Retrieve(ERLong id, ERObject& object) {
    if (file == nullptr) return 0;
    ERObject::theCurrentDataBase = this;
    ERULong signature = 0;
    if (findRecord(id, signature) == -1) return 0;
    const ERLong formerID = std::exchange(object.objectID, id);
    ERObjectDataBase* const formerDatabase = std::exchange(object.database, this);
    try {
        object.restoreGuts(*file);
    } catch (...) {
        object.objectID = formerID;
        object.database = formerDatabase;
        throw;
    }
    return 1;
}

t_SmartPtr<ERObject> ERObjectDataBase::RetrieveAndCreate(ERLong id) {
    if (file == nullptr) return {};
    ERObject::theCurrentDataBase = this;
    if (stackIsShort() || beingRetrieved.contains(id)) return {};
    ERULong signature = 0;
    if (findRecord(id, signature) == -1) return {};
    const auto found = creators.find(signature);
    if (found == creators.end() || found->second == nullptr) return {};

    t_SmartPtr<ERObject> object(found->second());
    object->database = this;
    object->objectID = id;
    struct Nesting {
        Nesting(NestedIDs& openIDs, ERLong opened) : ids(openIDs) { ids.push(opened); }
        ~Nesting() { ids.pop(); }
        NestedIDs& ids;
    } const nesting(beingRetrieved, id);
    object->restoreGuts(*file);
    return object;
}

int ERObjectDataBase::Delete(ERLong id) {
    if (file == nullptr) return 0;
    ERLong location = -1;
    if (!objectTree->removeKeyAndValue(NumberKey(id), location)) return 0;
    const bool isPlainNumber = specials.erase(id) != 0;
    if (!isPlainNumber && mayBeRecord(location)) {
        const ERULong signature = signatureAt(location);
        if (signature != 0 && signature <= lastSignature) file->deallocate(location);
    }
    return 1;
}

// 0 when no record can begin there.
ERULong ERObjectDataBase::signatureAt(ERLong location) {
    unsigned int signature = 0;
    if (!mayBeRecord(location)) return 0;
    file->SeekTo(location);
    return file->Read(&signature, 1) ? signature : 0;
}

ERLong ERObjectDataBase::InsertSpecial(ERLong value) {
    const ERLong id = file == nullptr ? -1 : freeID();
    if (id == -1 || !objectTree->insertKeyAndValue(NumberKey(id), value)) return -1;
    lastObjectID = id;
    specials.insert(id);
    return id;
}

ERLong ERObjectDataBase::ReadSpecial(ERLong id) {
    return file == nullptr ? -1 : objectTree->findValue(NumberKey(id));
}

int ERObjectDataBase::SetSpecial(ERLong id, ERLong value) {
    if (file == nullptr) return 0;
    ERLong former = -1;
    if (!objectTree->replaceValue(NumberKey(id), value, former)) return 0;
    specials.insert(id);
    return 1;
}

ERFileManager* ERObjectDataBase::fileManager() { return file.get(); }

void ERObjectDataBase::summarize(std::ostream& os) {
    if (file == nullptr) return;
    const std::string stars(61, '*');
    const std::string dashes(44, '-');
    os << stars << '\n'
       << "  Base de Donn\xE9"
          "es :  "
       << file->GetFilePath() << '\n'
       << stars << '\n'
       << " File Manager : " << '\n'
       << dashes << '\n'
       << "liste des classes presentes  : " << '\n';
    classTree->applyToKeyAndValue(
        [](char const* key, ERLong signature, void* data) {
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
    objectTree->applyToKeyAndValue(
        [](char const* key, ERLong location, void* data) {
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
