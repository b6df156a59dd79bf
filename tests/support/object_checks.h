#pragma once
#include <string>
#include <vector>

#include "kerf/core/object.h"
#include "kerf/persistence/object_database.h"
#include "kerf/values/transformation_3d.h"
#include "tests/support/value_checks.h"

// What the tests of every family of objects ask alike.
namespace kerf::test {

/// While it lives, objects that hold others store them as records of this database.
class CurrentDatabase {
public:
    CurrentDatabase() {
        EXPECT_EQ(base_.Open(place_.path(), 0), 1);
        ERObject::theCurrentDataBase = &base_;
    }

private:
    TemporaryFile place_;
    ERObjectDataBase base_;
};

inline std::string recordOf(const ERObject& object) {
    const TemporaryFile place;
    {
        ERFile file(place.path(), createFile);
        object.saveGuts(file);
    }
    return place.bytes();
}

inline void restoreFrom(const std::string& bytes, ERObject& object) {
    const TemporaryFile place(bytes);
    ERFile file(place.path(), CFile::modeRead);
    object.restoreGuts(file);
}

/// Calls the function with the record cut short, and with a byte of it turned over, at some sixty
/// places.
template <class Function>
void forDamaged(const std::string& record, Function function) {
    for (std::size_t i = 0; i < record.size(); i += record.size() / 60 + 1) {
        function(record.substr(0, i));
        std::string turned = record;
        turned[i] = static_cast<char>(~turned[i]);
        function(turned);
    }
}

inline std::vector<ERPmIsometrie3D> isometries() {
    return {ERTranslation3D(ERPoint3D(1, -2, 3)), ERRotation3D(ERVector3D(1, 2, -0.5), 1.1),
            ERChgRepere3D(ERVector3D(1, 1, 2), ERPoint3D(4, 0, -1)), ERSymetrie3D(Coord3D::CoordY),
            ERSymetrie3D(ERVector3D(1, -2, 0.5))};
}

inline std::vector<ERPmSimilitude3D> similitudes() {
    std::vector<ERPmSimilitude3D> all;
    for (const ERPmIsometrie3D& isometry : isometries()) {
        all.push_back(isometry * ERScaling3D(1.6));
        all.push_back(ERScaling3D(-0.75) * isometry);
    }
    return all;
}

}  // namespace kerf::test
