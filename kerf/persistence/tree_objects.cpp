#include "kerf/persistence/tree_objects.h"

#include <ostream>

#include "kerf/core/file.h"
#include "kerf/core/store_size.h"
#include "kerf/persistence/disk_btree.h"
#include "kerf/persistence/internal/number_key.h"

namespace kerf {

ER_DEFINE_ABSTRACT_CLASS(ERAuxilaryIndex, ERObject)
ER_DEFINE_ABSTRACT_CLASS(ERDBTree, ERObject)

namespace {

constexpr unsigned int indexCache = 10;
constexpr unsigned int namedTreeCache = 1000;
constexpr unsigned int treeOrder = 10;

std::unique_ptr<ERBTreeOnDisk> numberTree(ERFileManager& file, unsigned int cacheSlots,
                                          ERBTreeOnDisk::createMode mode, ERLong location) {
    return std::make_unique<ERBTreeOnDisk>(file, cacheSlots, mode, NumberKey::length, 1, location,
                                           treeOrder, treeOrder);
}

}  // namespace

StoredNumberTree::StoredNumberTree() = default;

StoredNumberTree::~StoredNumberTree() = default;

void StoredNumberTree::create(ERFileManager& file, unsigned int cacheSlots) {
    tree_ = numberTree(file, cacheSlots, ERBTreeOnDisk::create, -1);
    treeLocation_ = tree_->baseLocation();
}

void StoredNumberTree::open(ERFileManager& file, unsigned int cacheSlots) {
    tree_.reset();
    if (!ERBTreeOnDisk::canHaveInfoAt(file, treeLocation_)) return;
    tree_ = numberTree(file, cacheSlots, ERBTreeOnDisk::open, treeLocation_);
    if (tree_->keyLength() != NumberKey::length || !tree_->ignoreNulls()) tree_.reset();
}

int StoredNumberTree::insert(ERLong key, ERLong value) {
    return tree_ != nullptr ? tree_->insertKeyAndValue(NumberKey(key), value) : 0;
}

int StoredNumberTree::remove(ERLong key) {
    return tree_ != nullptr ? tree_->remove(NumberKey(key)) : 0;
}

int StoredNumberTree::find(ERLong key, ERLong& value) const {
    if (tree_ == nullptr || !tree_->contains(NumberKey(key))) return 0;
    value = tree_->findValue(NumberKey(key));
    return 1;
}

ERLong StoredNumberTree::entries() const {
    return tree_ != nullptr ? static_cast<ERLong>(tree_->entries()) : 0;
}

ERAuxilaryIndex::ERAuxilaryIndex() = default;

ERAuxilaryIndex::ERAuxilaryIndex(ERFileManager& file) { tree_.create(file, indexCache); }

ERAuxilaryIndex::~ERAuxilaryIndex() = default;

void ERAuxilaryIndex::init(ERFileManager& file) { tree_.open(file, indexCache); }

int ERAuxilaryIndex::Insert(ERLong key, const ERLong& value) { return tree_.insert(key, value); }

int ERAuxilaryIndex::Find(ERLong key, ERLong& value) { return tree_.find(key, value); }

ERLong ERAuxilaryIndex::entries() const { return tree_.entries(); }

ERObject* ERAuxilaryIndex::getCopy() const { return ERObject::getCopy(); }

void ERAuxilaryIndex::printOn(std::ostream& os) const { ERObject::printOn(os); }

void ERAuxilaryIndex::saveGuts(ERFile& file) const {
    ERObject::saveGuts(file);
    file.Write(tree_.location());
}

void ERAuxilaryIndex::restoreGuts(ERFile& file) {
    ERObject::restoreGuts(file);
    ERLong stored = -1;
    tree_.location(file.Read(stored) ? stored : -1);
}

ERULong ERAuxilaryIndex::binaryStoreSize() const { return ERObject::binaryStoreSize() + 4; }

ERDBTree::ERDBTree() = default;

ERDBTree::~ERDBTree() = default;

void ERDBTree::Create(const char* name, ERFileManager& file) {
    name_ = name;
    tree_.create(file, namedTreeCache);
    setDirty();
}

void ERDBTree::Reload(ERFileManager& file) { tree_.open(file, namedTreeCache); }

int ERDBTree::insertKeyAndValue(ERLong key, ERLong value) { return tree_.insert(key, value); }

int ERDBTree::remove(const ERLong& key) { return tree_.remove(key); }

ERLong ERDBTree::findValue(ERLong key) const {
    ERLong value = -1;
    tree_.find(key, value);
    return value;
}

int ERDBTree::contains(ERLong key) const {
    ERLong value = -1;
    return tree_.find(key, value);
}

ERObject* ERDBTree::getCopy() const { return ERObject::getCopy(); }

void ERDBTree::printOn(std::ostream& os) const { ERObject::printOn(os); }

void ERDBTree::saveGuts(ERFile& file) const {
    ERObject::saveGuts(file);
    file.Write(tree_.location());
    name_.saveOn(file);
}

void ERDBTree::restoreGuts(ERFile& file) {
    ERObject::restoreGuts(file);
    ERLong stored = -1;
    tree_.location(file.Read(stored) ? stored : -1);
    name_.restoreFrom(file);
}

ERULong ERDBTree::binaryStoreSize() const {
    return storeSizeSum(ERObject::binaryStoreSize(), 4, name_.binaryStoreSize());
}

}  // namespace kerf
