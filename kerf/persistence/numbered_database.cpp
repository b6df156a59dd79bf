#include "kerf/persistence/numbered_database.h"

#include <algorithm>
#include <limits>

#include "kerf/persistence/file_manager.h"
#include "kerf/persistence/tree_objects.h"
#include "kerf/platform/exceptions.h"
#include "kerf/platform/sinks.h"

namespace kerf {

namespace {

constexpr ERLong indexID = 1;
constexpr ERLong lastNumber = std::numeric_limits<ERLong>::max() - 1;

}  // namespace

ERDataBase::ERDataBase() = default;

ERDataBase::~ERDataBase() {
    try {
        ERDataBase::Close();
    } catch (const CFileException& failure) {
        showMessage("File Error", failure.what());
    }
}

int ERDataBase::Open(const char* name, int readOnly) {
    try {
        Close();
        if (!base_.Open(name, readOnly)) return 0;
        if (base_.isNew_) {
            index_ = std::make_unique<ERAuxilaryIndex>(*base_.fileManager());
            if (base_.Store(*index_) == indexID) return 1;
            base_.setFailure(OpenFailure::damaged, name);
        } else {
            const ERLong indexSignature = base_.getSignature(ERAuxilaryIndex::desc()->name);
            if (indexSignature != -1 && base_.signatureOf(indexID) == indexSignature) {
                index_ = std::make_unique<ERAuxilaryIndex>();
                base_.Retrieve(indexID, *index_);
                index_->init(*base_.fileManager());
                nextEntry_ = firstFreeNumber();
                return 1;
            }
            base_.setFailure(OpenFailure::otherKind, name);
        }
    } catch (const CFileException& failure) {
        showMessage("File Error", failure.what());
        base_.setFailure(OpenFailure::fileError, name);
    }
    index_.reset();
    try {
        base_.Close();
    } catch (const CFileException&) {
        // The base is closed; what failed first has been shown, or nothing was to be kept.
    }
    return 0;
}

// The count of the index is written when the base is closed: after a crash the index holds more.
ERLong ERDataBase::firstFreeNumber() {
    ERLong number = std::max(index_->entries(), 0);
    for (ERLong id = -1; number <= lastNumber && index_->Find(number, id);) ++number;
    return number;
}

void ERDataBase::Close() {
    index_.reset();
    nextEntry_ = 0;
    base_.Close();
}

// By value, as programs that override it declare it.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
ERLong ERDataBase::save(t_SmartPtr<ERObject> object) {
    if (index_ == nullptr || !object || nextEntry_ > lastNumber) return -1;
    const ERLong id = base_.Store(*object);
    if (id == -1) return -1;
    if (!index_->Insert(nextEntry_, id)) return -1;
    return nextEntry_++;
}

t_SmartPtr<ERObject> ERDataBase::restore(ERLong number) {
    ERLong id = -1;
    if (index_ == nullptr || !index_->Find(number, id)) return {};
    return base_.RetrieveAndCreate(id);
}

}  // namespace kerf
