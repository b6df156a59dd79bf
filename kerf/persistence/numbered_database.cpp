#include "kerf/persistence/numbered_database.h"

#include <algorithm>
#include <limits>

#include "kerf/core/file.h"
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
    } catch (CFileException const& failure) {
        showMessage("File Error", failure.what());
    }
}

int ERDataBase::Open(char const* name, int readOnly) {
    try {
        Close();
        if (ERFile::Exists(name)) {
            if (!base.Open(name, readOnly)) return 0;
            const ERLong indexSignature = base.getSignature(ERAuxilaryIndex::desc()->name);
            if (indexSignature != -1 && base.signatureOf(indexID) == indexSignature) {
                index = std::make_unique<ERAuxilaryIndex>();
                base.Retrieve(indexID, *index);
                index->init(*base.fileManager());
                nextEntry = std::max(index->entries(), 0);
                return 1;
            }
        } else {
            if (readOnly || !base.Open(name, readOnly)) return 0;
            index = std::make_unique<ERAuxilaryIndex>(*base.fileManager());
            if (base.Store(*index) == indexID) return 1;
        }
    } catch (CFileException const& failure) {
        showMessage("File Error", failure.what());
    }
    index.reset();
    try {
        base.Close();
    } catch (CFileException const&) {
        // The base is closed; what failed first has been shown, or nothing was to be kept.
    }
    return 0;
}

void ERDataBase::Close() {
    index.reset();
    nextEntry = 0;
    base.Close();
}

ERLong ERDataBase::save(t_SmartPtr<ERObject> object) {
    if (index == nullptr || !object || nextEntry > lastNumber) return -1;
    const ERLong id = base.Store(*object);
    if (id == -1) return -1;
    // After a crash the index may hold numbers that the count in its tree does not know of.
    while (!index->Insert(nextEntry, id)) {
        ERLong taken = -1;
        if (nextEntry == lastNumber || !index->Find(nextEntry, taken)) return -1;
        ++nextEntry;
    }
    return nextEntry++;
}

t_SmartPtr<ERObject> ERDataBase::restore(ERLong number) {
    ERLong id = -1;
    if (index == nullptr || !index->Find(number, id)) return {};
    return base.RetrieveAndCreate(id);
}

}  // namespace kerf
