#pragma once
#include <memory>

#include "kerf/core/object.h"
#include "kerf/core/string.h"

// Stored objects that hold a tree of numbers in the file that they are stored in. The tree works on
// that file: it is empty once the file is closed, and such an object has no copy.
namespace kerf {

class ERBTreeOnDisk;
class ERFileManager;

/// A tree from long to long, of a stored object that knows where in the file the tree lies.
/// Degenerate: before create() or open() there is no tree: nothing is found or taken.
/// Damage:     a location that cannot have a tree of numbers gives no tree.
class KERF_EXPORT StoredNumberTree {
public:
    StoredNumberTree();
    ~StoredNumberTree();

    /// Makes an empty tree in the file, with so many slots in its node cache.
    void create(ERFileManager& file, unsigned int cacheSlots);
    /// Opens the tree at location(); nothing when the file cannot hold a tree there.
    void open(ERFileManager& file, unsigned int cacheSlots);

    int insert(ERLong key, ERLong value);  ///< 0 when the key is there already
    int remove(ERLong key);                ///< 0 when there is no such key
    /// 1 and the value, or 0, which leaves `value` alone.
    int find(ERLong key, ERLong& value) const;
    ERLong entries() const;

    ERLong location() const { return treeLocation_; }
    void location(ERLong stored) { treeLocation_ = stored; }

private:
    std::unique_ptr<ERBTreeOnDisk> tree_;
    ERLong treeLocation_ = -1;
};

/// The index of an ERDataBase: entry number to object ID.
/// Storage: the tree's location, 4 bytes.
class KERF_EXPORT ERAuxilaryIndex : public ERObject {
    ER_OBJECT_CLASS(ERAuxilaryIndex);

public:
    ERAuxilaryIndex();
    explicit ERAuxilaryIndex(ERFileManager& file);  ///< makes its tree in the file
    ~ERAuxilaryIndex() override;

    /// Opens the tree whose location was restored.
    void init(ERFileManager& file);
    /// 0 when the key is there already.
    int Insert(ERLong key, const ERLong& value);
    /// 1 and the value, or 0, which leaves `value` alone.
    int Find(ERLong key, ERLong& value);
    ERLong entries() const;

    ERObject* getCopy() const override;
    void printOn(std::ostream& os) const override;
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;

private:
    StoredNumberTree tree_;
};

/// A named tree of the caller's, from long to long.
/// Storage: the tree's location, then the name.
class KERF_EXPORT ERDBTree : public ERObject {
    ER_OBJECT_CLASS(ERDBTree);

public:
    ERDBTree();
    ~ERDBTree() override;

    void Create(const char* name, ERFileManager& file);
    /// Opens the tree whose location was restored.
    void Reload(ERFileManager& file);
    int insertKeyAndValue(ERLong key, ERLong value);  ///< 0 when the key is there already
    int remove(const ERLong& key);                    ///< 0 when there is no such key
    ERLong findValue(ERLong key) const;               ///< -1 when there is no such key
    int contains(ERLong key) const;
    const ERCString& name() const { return name_; }

    ERObject* getCopy() const override;
    void printOn(std::ostream& os) const override;
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;

private:
    StoredNumberTree tree_;
    ERCString name_;
};

}  // namespace kerf
