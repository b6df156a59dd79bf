// Keeps measured points in a database and proves that they come back.
//
// usage: point_archive POINTS.txt ARCHIVE.kerf
//
// A line of POINTS.txt is "x y z"; empty lines and lines that start with # are passed over. The
// first half of the run stores each point as a named, coloured object; the second opens the archive
// read only, as another program would, and compares every bit. Exit code 0 only if all agree.
#include <array>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "examples/points_file.h"
#include "kerf/kerf.h"

namespace {

constexpr kerf::ERULong red = 0xFF0000;
constexpr kerf::ERULong blue = 0x0000FF;

// False, and the offending line on standard error, when the file is not of the form above.
bool readPoints(const std::string& path, std::vector<kerf::ERPoint3D>& points) {
    std::vector<std::array<double, 3>> rows;
    const auto pass = [](unsigned int, const std::string&) { return true; };
    if (!readRows(path, "a point", rows, pass)) return false;
    for (const auto& [x, y, z] : rows) points.emplace_back(x, y, z);
    return true;
}

std::string nameOf(std::size_t i) { return std::string("P").append(std::to_string(i + 1)); }

// Points above the middle of the part are red, the others blue.
kerf::ERULong colorOf(const kerf::ERPoint3D& point, double middle) {
    return point.z() > middle ? red : blue;
}

bool store(const std::string& path, const std::vector<kerf::ERPoint3D>& points, double middle) {
    std::remove(path.c_str());
    kerf::ERDataBase archive;
    if (!archive.Open(path.c_str(), 0)) return false;
    const Progress progress("storing", points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        kerf::t_SmartPtr<kerf::ERDBObject> object(new kerf::ERDBObject);
        object->name(nameOf(i).c_str())
            .color_rgb(colorOf(points[i], middle))
            .object(new kerf::ERPersistentPoint3D(points[i]));
        if (archive.save(object) != static_cast<kerf::ERLong>(i)) return false;
        progress.show(i + 1);
    }
    archive.Close();
    return true;
}

// The number of points that did not come back as they were stored, or -1 when the archive does not
// open. `box` gets the box of those that did.
long compare(kerf::ERDataBase& archive, const std::vector<kerf::ERPoint3D>& points, double middle,
             kerf::ERMinimax3D& box) {
    if (archive.getNbEnt() != static_cast<kerf::ERLong>(points.size())) return -1;
    long different = 0;
    const Progress progress("comparing", points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        const kerf::t_SmartPtr<kerf::ERObject> stored =
            archive.restore(static_cast<kerf::ERLong>(i));
        kerf::ERDBObject* const object = kerf::ERDBObject::castdown(stored.getObject());
        kerf::ERPersistentPoint3D* const point =
            object == nullptr ? nullptr
                              : kerf::ERPersistentPoint3D::castdown(object->object().getObject());
        if (point != nullptr && sameBits(*point, points[i]) && object->name() == nameOf(i) &&
            object->color_rgb() == colorOf(points[i], middle))
            box.Update(*point);
        else
            ++different;
        progress.show(i + 1);
    }
    return different;
}

int run(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: point_archive POINTS.txt ARCHIVE.kerf\n";
        return 2;
    }
    std::vector<kerf::ERPoint3D> points;
    if (!readPoints(argv[1], points)) return 1;
    kerf::ERMinimax3D measured;
    for (const kerf::ERPoint3D& point : points) measured.Update(point);
    const double middle = (measured.MinPoint().z() + measured.MaxPoint().z()) / 2;

    if (!store(argv[2], points, middle)) {
        std::cerr << argv[2] << ": could not be written\n";
        return 1;
    }
    kerf::ERDataBase archive;
    if (!archive.Open(argv[2], 1)) {
        std::cerr << argv[2] << ": could not be opened again\n";
        return 1;
    }
    archive.objects().summarize(std::cout);
    kerf::ERMinimax3D box;
    const long different = compare(archive, points, middle, box);
    if (different != 0) {
        std::cerr << argv[2] << ": " << different << " of " << points.size()
                  << " points differ from what was stored\n";
        return 1;
    }
    std::cout << points.size() << " points stored and read back to the last bit\n"
              << "box: " << box.MinPoint() << " to " << box.MaxPoint() << '\n';
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const kerf::CFileException& failure) {  // a full disk, for one
        std::cerr << failure.what() << '\n';
        return 1;
    }
}
