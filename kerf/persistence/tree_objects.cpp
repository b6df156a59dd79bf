#include "kerf/persistence/tree_objects.h"

#include <cstring>
#include <ostream>

#include "kerf/core/file.h"
#include "kerf/persistence/file_manager.h"
#include "kerf/persistence/number_key.h"

namespace kerf {

ER_DEFINE_ABSTRACT_CLASS(ERAuxilaryIndex, ERObject)
ER_DEFINE_ABSTRACT_CLASS(ERDBTree, ERObject)

namespace {

constexpr unsigned int indexCache = 10;
constexpr unsigned int namedTreeCache = 1000;
constexpr unsigned int treeOrder = 10;
constexpr ERULong treeInfoSize = 40;

std::unique_ptr<ERBTreeOnDisk> numberTree(ERFileManager& file, unsigned int cacheSlots,
                                          ERBTreeOnDisk::createMode mode, ERLong location) {
    return std::make_unique<ERBTreeOnDisk>(file, cacheSlots, mode, NumberKey::length, 1, location,
                                           treeOrder, treeOrder);
}

}  // namespace

StoredNumberTree::StoredNumberTree() = default;

StoredNumberTree::~StoredNumberTree() = default;

void StoredNumberTree::create(ERFileManager& file, unsigned int cacheSlots) {
    tree = numberTree(file, cacheSlots, ERBTreeOnDisk::create, -1);
    treeLocation = tree->baseLocation();
}

void StoredNumberTree::open(ERFileManager& file, unsigned int cacheSlots) {
    tree.reset();
    const bool inFile =
        treeLocation > file.start() &&
        static_cast<ERULong>(treeLocation) + treeInfoSize <= static_cast<ERULong>(file.endData());
    if (!inFile) return;
    tree = numberTree(file, cacheSlots, ERBTreeOnDisk::open, treeLocation);
    if (tree->keyLength() != NumberKey::length || !tree->ignoreNulls()) tree.reset();
}

int StoredNumberTree::insert(ERLong key, ERLong value) {
    return tree != nullptr ? tree->insertKeyAndValue(NumberKey(key), value) : 0;
}

int StoredNumberTree::remove(ERLong key) {
    return tree != nullptr ? tree->remove(NumberKey(key)) : 0;
}

int StoredNumberTree::find(ERLong key, ERLong& value) const {
    if (tree == nullptr || !tree->contains(NumberKey(key))) return 0;
    value = tree->findValue(NumberKey(key));
    return 1;
}

ERLong StoredNumberTree::entries() const {
    return tree != nullptr ? static_cast<ERLong>(tree->entries()) : 0;
}

ERAuxilaryIndex::ERAuxilaryIndex() = default;

ERAuxilaryIndex::ERAuxilaryIndex(ERFileManager& file) { tree.create(file, indexCache); }

ERAuxilaryIndex::~ERAuxilaryIndex() = default;

void ERAuxilaryIndex::init(ERFileManager& file) { tree.open(file, indexCache); }

int ERAuxilaryIndex::Insert(ERLong key, ERLong const& value) { return tree.insert(key, value); }

int ERAuxilaryIndex::Find(ERLong key, ERLong& value) { return tree.find(key, value); }

ERLong ERAuxilaryIndex::entries() const { return tree.entries(); }

ERObject* ERAuxilaryIndex::getCopy() const { return ERObject::getCopy(); }

void ERAuxilaryIndex::printOn(std::ostream& os) const { ERObject::printOn(os); }

void ERAuxilaryIndex::saveGuts(ERFile& file) const {
    ERObject::saveGuts(file);
    file.Write(tree.location());
}

void ERAuxilaryIndex::restoreGuts(ERFile& file) {
    ERObject::restoreGuts(file);
    ERLong stored = -1;
    tree.location(file.Read(stored) ? stored : -1);
}

ERULong ERAuxilaryIndex::binaryStoreSize() const { return ERObject::binaryStoreSize() + 4; }

ERDBTree::ERDBTree() = default;

ERDBTree::~ERDBTree() = default;

void ERDBTree::Create(char const* name, ERFileManager& file) {
    name_ = name;
    tree.create(file, namedTreeCache);
    setDirty();
}

void ERDBTree::Reload(ERFileManager& file) { tree.open(file, namedTreeCache); }

int ERDBTree::insertKeyAndValue(ERLong key, ERLong value) { return tree.insert(key, value); }

int ERDBTree::remove(ERLong const& key) { return tree.remove(key); }

ERLong ERDBTree::findValue(ERLong key) const {
    ERLong value = -1;
    tree.find(key, value);
    return value;
}

int ERDBTree::contains(ERLong key) const {
    ERLong value = -1;
    return tree.find(key, value);
}

ERObject* ERDBTree::getCopy() const { return ERObject::getCopy(); }

void ERDBTree::printOn(std::ostream& os) const { ERObject::printOn(os); }

void ERDBTree::saveGuts(ERFile& file) const {
    ERObject::saveGuts(file);
    file.Write(tree.location());
    name_.saveOn(file);
}

void ERDBTree::restoreGuts(ERFile& file) {
    ERObject::restoreGuts(file);
    ERLong stored = -1;
    tree.location(file.Read(stored) ? stored : -1);
    name_.restoreFrom(file);
}

ERULong ERDBTree::binaryStoreSize() const {
    return ERObject::binaryStoreSize() + 4 + name_.binaryStoreSize();
}

}  // namespace kerf
