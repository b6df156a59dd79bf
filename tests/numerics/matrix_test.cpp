#include "kerf/numerics/matrix.h"

#include <algorithm>
#include <functional>
#include <optional>

#include "tests/numerics/vector_checks.h"

namespace kerf {
namespace {

using namespace test;
using Lines = std::vector<Values>;

Lines rowsOf(const Matrix& m) {
    Lines rows;
    for (unsigned int r = 0; r < m.rows(); ++r) rows.push_back(listOf(m[r]));
    return rows;
}

Lines transposed(const Lines& lines) {
    Lines result(lines.empty() ? 0 : lines[0].size());
    for (const Values& line : lines)
        for (std::size_t i = 0; i < line.size(); ++i) result[i].push_back(line[i]);
    return result;
}

// (r, c) holds 10 r + c.
Matrix numbered(unsigned int rows, unsigned int cols) {
    Matrix m(rows, cols);
    for (unsigned int r = 0; r < rows; ++r)
        for (unsigned int c = 0; c < cols; ++c) m(r, c) = 10 * r + c;
    return m;
}

// The length does not follow the columns; only the reading of the elements needs a square.
TEST(Matrix, DiagonalIsAsLongAsThereAreRows) {
    EXPECT_EQ(listOf(numbered(2, 5).diagonal()), (Values{0, 11}));
    EXPECT_EQ(numbered(5, 2).diagonal().length(), 5u);
    EXPECT_EQ(numbered(3, 3).trace(), 33);
}

// Rows and columns are edited alike, with parts of the matrix itself too. Oracle: the same edits of
// a list of rows, or of columns.
TEST(Matrix, RandomEditsEqualThoseOfAListOfLines) {
    const unsigned int seed = 20240503;
    std::mt19937 random(seed);
    const auto upTo = [&](std::size_t n) { return static_cast<unsigned int>(random() % (n + 1)); };
    Matrix m;
    for (int step = 0; step < 8000; ++step) {
        if (m.length() == 0 || m.length() > 400) m = numbered(3, 3);
        const Lines rows = rowsOf(m);
        std::optional<Matrix> sharing;
        if (upTo(1) == 0) sharing = m;
        const bool byRows = upTo(1) == 0;
        const Lines before = byRows ? rows : transposed(rows);
        Lines lines = before;
        const unsigned int height = byRows ? m.rows() : m.cols(),
                           width = byRows ? m.cols() : m.rows();
        const unsigned int at = upTo(height), one = upTo(height - 1), n = upTo(2);
        const ERVec<double> fresh(width, 1.0 * step);
        const double& value = std::as_const(m)(0, 0);
        const Values filled(width, value);

        const auto put = [&](unsigned int removed, const Lines& inserted) {
            const auto from = lines.begin() + at;
            const auto after = lines.erase(from, from + std::min(removed, height - at));
            lines.insert(after, inserted.begin(), inserted.end());
        };
        const struct {
            std::function<void()> ofRows, ofColumns, ofLines;
        } edits[] = {
            {[&] { m.insertRow(at, value, n); }, [&] { m.insertCol(at, value, n); },
             [&] { put(0, Lines(n, filled)); }},
            {[&] { m.insertRow(at, fresh); }, [&] { m.insertCol(at, fresh); },
             [&] { put(0, {listOf(fresh)}); }},
            {[&] { m.insertRow(at, m.row(one)); }, [&] { m.insertCol(at, m.col(one)); },
             [&] { put(0, {before[one]}); }},
            {[&] { m.insertRow(at, m); }, [&] { m.insertCol(at, m); }, [&] { put(0, before); }},
            {[&] { m.deleteRow(at, n); }, [&] { m.deleteCol(at, n); }, [&] { put(n, {}); }},
            {[&] { m.replaceRow(at, n, m); }, [&] { m.replaceCol(at, n, m); },
             [&] { put(n, before); }},
            {[&] { m.replaceRow(one, fresh); }, [&] { m.replaceCol(one, fresh); },
             [&] { lines[one] = listOf(fresh); }},
            {[&] { m.replaceRow(one, m.row(0)); }, [&] { m.replaceCol(one, m.col(0)); },
             [&] { lines[one] = before[0]; }},
            {[&] { m.replaceRow(one, value); }, [&] { m.replaceCol(one, value); },
             [&] { lines[one] = filled; }},
            {[&] { m[one][width - 1] = step; }, [&] { m.col(one)[width - 1] = step; },
             [&] { lines[one].back() = step; }},
            {[&] { m.swapRow(one, height - 1); }, [&] { m.swapCol(one, height - 1); },
             [&] { std::swap(lines[one], lines.back()); }},
            {[&] { m.reverseRows(); }, [&] { m.reverseCols(); },
             [&] { std::reverse(lines.begin(), lines.end()); }},
            {[&] { m.insertRow(0, m.splitAtRow(at)); }, [&] { m.insertCol(0, m.splitAtCol(at)); },
             [&] { std::rotate(lines.begin(), lines.begin() + at, lines.end()); }},
        };
        const unsigned int edit = upTo(std::size(edits) - 1);
        SCOPED_TRACE(testing::Message()
                     << "edit " << edit << " in step " << step << ", seed " << seed);
        byRows ? edits[edit].ofRows() : edits[edit].ofColumns();
        edits[edit].ofLines();
        ASSERT_EQ(rowsOf(m), byRows ? lines : transposed(lines));
        ASSERT_EQ(m.length(), m.rows() * m.cols());
        ASSERT_TRUE(m.length() > 0 || m == Matrix(0, 0));
        if (sharing) {
            ASSERT_EQ(rowsOf(*sharing), rows);
        }
    }
}

TEST(Matrix, PrintingLeavesTheStreamFixedAndSigned) {
    std::ostringstream os;
    os << Matrix(vecOf({1.5, -0.25}), 1, 2) << 2.0;
    EXPECT_EQ(os.str(), "( r= 1, c=2)\n[+1.5000000   -0.2500000   ]\n+2.0000000");
}

// It reads no values and fills nothing; only how far it reads is of use.
TEST(Matrix, ReadingConsumesSeparatorsAlone) {
    Matrix m = numbered(1, 1);
    std::istringstream in("2 3 [,,[,,[,,rest");
    m.readFrom(in);
    std::string rest;
    in >> rest;
    EXPECT_EQ(rest, "rest");
    EXPECT_TRUE(m == numbered(1, 1));
}

TEST(MatrixFile, IsRowsColumnsAndTheVector) {
    const Matrix m = numbered(2, 3);
    EXPECT_EQ(stored(m), words({2, 3}) + stored(m.asVector()));
    EXPECT_TRUE(restored<Matrix>(stored(m)) == m);
}

TEST(MatrixFile, AShapeThatDoesNotMatchRestoresAs0By0) {
    for (const std::string& bytes : {words({2, 2, 16, 0, 0, 0, 0}),
                                     words({0x80000001, 2, 16, 0, 0, 0, 0}),  // matches at 32 bits
                                     words({0xFFFFFFFF, 0, 0}), words({2})})
        EXPECT_TRUE(restored(bytes, numbered(3, 3)) == Matrix(0, 0));
}

}  // namespace
}  // namespace kerf
