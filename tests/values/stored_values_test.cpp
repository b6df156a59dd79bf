#include <memory>

#include "kerf/values/box.h"
#include "kerf/values/info_point.h"
#include "kerf/values/limits.h"
#include "kerf/values/persistent_point.h"
#include "kerf/values/pole.h"
#include "kerf/values/polynomial.h"
#include "kerf/values/transformation_2d.h"
#include "tests/support/value_checks.h"
#include "tests/values/transformation_3d_samples.h"

// What values and the objects made of them become in files, archives and texts.
namespace kerf {
namespace {

using namespace test;

template <class T>
std::string bytesOf(const T& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

// Files and archives, of those that the value has an operator for, hold the doubles as they lie in
// memory.
template <class T>
void expectStoredAsItLies(const T& value) {
    const TemporaryFile place;
    T restored;
    if constexpr (requires { value.binaryStoreSize(); }) {
        EXPECT_EQ(value.binaryStoreSize(), sizeof value);
        ERFile file(place.path(), createFile);
        file << value;
        EXPECT_EQ(place.bytes(), bytesOf(value));
        file.SeekTo(0);
        file >> restored;
        EXPECT_EQ(bytesOf(restored), bytesOf(value));
    }
    if constexpr (requires(CArchive & archive) { archive << value; }) {
        CFile file(place.path(), createFile);
        CArchive storing(&file, CArchive::store);
        storing << value << 0.25;
        storing.Close();
        EXPECT_EQ(place.bytes(), bytesOf(value) + bytesOf(0.25));
        file.Seek(0, CFile::begin);
        CArchive archive(&file, CArchive::load);
        archive >> restored;
        EXPECT_EQ(bytesOf(restored), bytesOf(value));
        EXPECT_THROW(archive >> restored, CArchiveException);  // what remains is too short
    }
}

TEST(StoredValues, LieInFilesAndArchivesAsInMemory) {
    const auto expectAll = [](const auto&... values) { (expectStoredAsItLies(values), ...); };
    expectAll(ERPoint2D(1.5, -2), ERPoint3D(1.5, -2, 1e300), ERVector2D(3, -4),
              ERVector3D(3, -4, 5e-324), ERPole2DH(6, -8, 4), ERPole3DH(6, -8, 2, 4),
              ERMinimax2D(1, 3, 2, 4), ERMinimax3D(11, 14, 12, 15, 13, 16), ERLimites(3, -4),
              Coordinate(1.5, -2, 1e300));
    // Of a file that ends early a point takes zeros and a box what is there.
    const TemporaryFile place;
    ERFile file(place.path(), createFile);
    ERPoint3D point(1, 2, 3);
    file >> point;
    EXPECT_EQ(point, ERPoint3D());
    file << ERMinimax2D(1, 3, 2, 4);
    file.SeekTo(0);
    ERMinimax3D box(11, 14, 12, 15, 13, 16);
    file >> box;
    EXPECT_TRUE(box == ERMinimax3D(1, 4, 2, 15, 3, 16));
}

std::string stored(const ERObject& object) {
    const TemporaryFile place;
    ERFile file(place.path(), createFile);
    object.saveGuts(file);
    return place.bytes();
}

TEST(StoredObjects, ComeBackThroughTheirRegisteredCreators) {
    std::vector<std::pair<ERObject*, ERULong>> objects = {
        {new ERPersistentPoint2D(ERPoint2D(1, 2)), 16},
        {new ERPersistentPoint3D(ERPoint3D(1, 2, 3)), 24},
        {new ERPersistentVector3D(ERVector3D(1, 2, 3)), 24},
        {new ERTransfo2D(ERVector2D(3, 4), ERPoint2D(7, 8)), 48},
        {new ERPmIsometrie3D(sampleOf(workplane).rep), 116},
        {new ERPmSimilitude3D(sampleOf(similitude).rep), 116}};
    const ERULong sizes[] = {0, 24, 84, 108, 8, 84, 116};
    for (int kind = 0; kind < 7; ++kind)
        objects.emplace_back(sampleOf(static_cast<Kind>(kind)).rep->getCopy(), sizes[kind]);
    for (const auto& [pointer, size] : objects) {
        const std::unique_ptr<ERObject> object(pointer);
        SCOPED_TRACE(object->className());
        const std::string bytes = stored(*object);
        EXPECT_EQ(bytes.size(), size);
        // The plane transformation counts less than it writes: files rely on both.
        EXPECT_EQ(object->binaryStoreSize(), object->isA() == ERTransfo2D::desc() ? 32 : size);
        const TemporaryFile place;
        place.setBytes(bytes);
        ERFile file(place.path(), CFile::modeRead);
        const std::unique_ptr<ERObject> restored(
            ERClassRegistration::findCreator(object->className())());
        restored->restoreGuts(file);
        const std::unique_ptr<ERObject> copy(restored->getCopy());
        EXPECT_STREQ(copy->className(), object->className());
        EXPECT_EQ(stored(*copy), bytes);
    }
    // The rows of the matrix, then the translation.
    EXPECT_EQ(stored(ERTransfo2D(ERVector2D(0, 2), ERPoint2D(7, 8))),
              bytesOf(std::array<double, 6>{0, -1, 1, 0, 7, 8}));
}

TEST(PrintedValues, KeepTheirTextsToTheByte) {
    EXPECT_EQ(printed(ERPersistentPoint3D(ERPoint3D(1, 2, 3)), 6), "(P) [     1,     2,     3]");
    EXPECT_EQ(printed(ERPole2DH(5, 6, 7), 3), "[  5,  6](  7)");
    EXPECT_EQ(printed(ERLimites(1, 2.5), 4), "Limites(    1, 2.5 )\n");
    const double coefficients[] = {1, -2.5, 3};
    EXPECT_EQ(printed(ERPolynome(coefficients, 3)), "(3)[1,-2.5,3]\n");
    EXPECT_EQ(printed(ERTransfo2D(2.0, ERPoint2D(-1, -3)) * ERTransfo2D::rotation(pi / 2)),
              "Transfo2D definie par :  T*H*Sym*R :\n"
              "    Rotation d'angle  :                  :  90  (1.5708)\n"
              "    Symetrie par rapport a l'axe 'Ox' ?  :  Non\n"
              "    Homothetie de rapport                :  2\n"
              "    Translation de vecteur               :  {1,3}\n");
    EXPECT_EQ(printed(ERInfoPoint3DWF(0.5, 1, {1, 2, 3}, {2, 0, 0}, {0, 4, 0})),
              "- Parametre         :  u = 0.5\n- Sens              :  s = 1\n"
              "- Point courant     :  P = [1,2,3]\n- Tangente          :  T = <2,0,0>\n"
              "- Normale           :  N = <0,1,0>\n- Rayon de courbure :  R = 1\n");
}

TEST(PrintedValues, OfASimilitudeLeaveTheFlagsOfTheMatrixOnTheStream) {
    std::ostringstream text;
    text << "Matrice de Rotation    : ";
    unit().printOn(text);
    text << "Composante Translation : " << ERPoint3D() << "facteur d'homothetie   : " << 2.5;
    EXPECT_EQ(printed(_ERSimilitude3D(unit(), ERPoint3D(), 2.5)), text.str());
}

}  // namespace
}  // namespace kerf
