#pragma once
#include <memory>
#include <string>

#include "kerf/persistence/object_database.h"

namespace kerf {

class ERAuxilaryIndex;

/// A database whose objects are numbered from 0 in the order in which they were saved. An index
/// object, the first record of the file, keeps the numbers.
///
/// Prefer it to ERObjectDataBase for a file that is a list of objects: a program finds them again
/// without knowing any ID. Threads, failures and crashes are as for ERObjectDataBase.
class KERF_EXPORT ERDataBase {
public:
    ERDataBase();
    ERDataBase(const ERDataBase&) = delete;
    ERDataBase& operator=(const ERDataBase&) = delete;
    virtual ~ERDataBase();  ///< closes

    /// As ERObjectDataBase::Open; also 0 for a file whose first record is no index.
    virtual int Open(const char* name, int readOnly);
    int Open(const StandardText auto& name, int readOnly) {
        return Open(std::string(name).c_str(), readOnly);
    }
    /// Why the last Open returned 0.
    OpenFailure openFailure() const { return base_.openFailure(); }
    virtual void Close();

    /// Stores the object and returns its number; -1 when it got none: it was not stored, or the
    /// index has no room (the object then has an ID all the same).
    virtual ERLong save(t_SmartPtr<ERObject> object);
    /// Builds the object of that number; null when there is none.
    virtual t_SmartPtr<ERObject> restore(ERLong number);

    /// How many numbers are given; the next object saved gets this one.
    ERLong getNbEnt() const { return nextEntry_; }
    ERObjectDataBase& objects() { return base_; }

private:
    ERLong firstFreeNumber();

    ERObjectDataBase base_;
    std::unique_ptr<ERAuxilaryIndex> index_;
    ERLong nextEntry_ = 0;
};

}  // namespace kerf
