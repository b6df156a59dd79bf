// The operations of ERObject that work on a database.
#include "kerf/core/object.h"
#include "kerf/core/smart_pointer.h"
#include "kerf/persistence/object_database.h"

namespace kerf {

bool ERObject::isAttached() const {
    return database_ != nullptr && opening_ == database_->opening_;
}

int ERObject::Save(ERObjectDataBase* target) {
    const bool attached = isAttached();
    if (target == nullptr && !attached) return 0;
    if (target != nullptr && (target != database_ || !attached)) {
        if (attached && dirty_ && objectID_ != -1 && database_->Store(*this) == -1) return 0;

        // Whatever ends the store early, the object keeps the identity that it came with.
        struct Identity {
            ERObject& object;
            const ERLong objectID = object.objectID_;
            ERObjectDataBase* const database = object.database_;
            const ERULong opening = object.opening_;
            bool keep = true;
            ~Identity() {
                if (!keep) return;
                object.objectID_ = objectID;
                object.database_ = database;
                object.opening_ = opening;
            }
        } former{*this};
        database_ = nullptr;
        objectID_ = 0;  // the missing database alone makes this a new record
        if (target->Store(*this) == -1) return 0;
        former.keep = false;
    } else if (dirty_ && database_->Store(*this) == -1) {
        return 0;
    }
    dirty_ = false;
    return 1;
}

int ERObject::Delete() {
    if (!isAttached() || objectID_ == -1) return 0;
    if (database_->Delete(objectID_) == 0) return 0;
    database_ = nullptr;
    objectID_ = -1;
    return 1;
}

void ERObject::recursiveSaveOn(ERFile& file) {
    ERObjectDataBase* const current = theCurrentDataBase;
    const ERLong position = file.CurOffset();
    Save(current);
    theCurrentDataBase = current;  // an object that comes from another base is stored there first
    // Where that failed its ID is one of another file: no record of this one may hold it.
    const bool isHere = database_ == current && isAttached();
    if (current != nullptr && !isHere && objectID_ != -1) ++current->refusedStores_;
    file.SeekTo(position);
    file.Write(objectID_);
}

t_SmartPtr<ERObject> ERObject::recursiveRestoreFrom(ERFile& file) {
    ERLong id = -1;
    if (!file.Read(id) || theCurrentDataBase == nullptr) return {};
    const ERLong position = file.CurOffset();
    t_SmartPtr<ERObject> restored = theCurrentDataBase->RetrieveAndCreate(id);
    file.SeekTo(position);
    return restored;
}

}  // namespace kerf
