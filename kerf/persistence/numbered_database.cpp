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
        } else {
            const ERLong indexSignature = base_.getSignature(ERAuxilaryIndex::desc()->name);
            if (indexSignature != -1 && base_.signatureOf(indexID) == indexSignature) {
                index_ = std::make_unique<ERAuxilaryIndex>();
                base_.Retrieve(indexID, *index_);
                index_->init(*base_.fileManager());
                nextEntry_ = std::max(index_->entries(), 0);
                return 1;
            }
        }
    } catch (const CFileException& failure) {
        showMessage("File Error", failure.what());
    }
    index_.reset();
    try {
        base_.Close();
    } catch (const CFileException&) {
        // The base is closed; what failed first has been shown, or nothing was to be kept.
    }
    return 0;
}

void ERDataBase::Close() {
    index_.reset();
    nextEntry_ = 0;
    base_.Close();
}

ERLong ERDataBase::save(t_SmartPtr<ERObject> object) {
    if (index_ == nullptr || !object || nextEntry_ > lastNumber) return -1;
    const ERLong id = base_.Store(*object);
    if (id == -1) return -1;
    // After a crash the index may hold numbers that its count does not include.
    while (!index_->Insert(nextEntry_, id)) {
        ERLong taken = -1;
        if (nextEntry_ == lastNumber || !index_->Find(nextEntry_, taken)) return -1;
        ++nextEntry_;
    }
    return nextEntry_++;
}

t_SmartPtr<ERObject> ERDataBase::restore(ERLong number) {
    ERLong id = -1;
    if (index_ == nullptr || !index_->Find(number, id)) return {};
    return base_.RetrieveAndCreate(id);
}

}  // namespace kerf
