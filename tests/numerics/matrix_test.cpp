#include "kerf/numerics/matrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <sstream>
#include <vector>

#include "kerf/core/file.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using test::TemporaryFile;
using Rows = std::vector<std::vector<double>>;

Rows rowsOf(const ERMatrix<double>& m) {
    Rows rows(m.rows());
    for (unsigned r = 0; r < m.rows(); ++r)
        for (unsigned c = 0; c < m.cols(); ++c) rows[r].push_back(m(r, c));
    return rows;
}

// (r, c) holds 10 r + c.
ERMatrix<double> numbered(unsigned rows, unsigned cols) {
    ERMatrix<double> m(rows, cols);
    for (unsigned r = 0; r < rows; ++r)
        for (unsigned c = 0; c < cols; ++c) m(r, c) = 10 * r + c;
    return m;
}

template <class Range>
std::vector<double> listOf(const Range& range) {
    return std::vector<double>(range.begin(), range.end());
}

void expectShape(const ERMatrix<double>& m, unsigned rows, unsigned cols) {
    EXPECT_EQ(m.rows(), rows);
    EXPECT_EQ(m.cols(), cols);
    EXPECT_EQ(m.length(), rows * cols);
}

// The length does not follow the columns; only the reading of the elements needs a square.
TEST(Matrix, DiagonalIsAsLongAsThereAreRows) {
    EXPECT_EQ(numbered(2, 5).diagonal().length(), 2u);
    EXPECT_EQ(numbered(5, 2).diagonal().length(), 5u);
    EXPECT_EQ(numbered(5, 2).diagonal().stride(), 3);
}

TEST(Matrix, WritingLeavesOtherOwnersAlone) {
    ERMatrix<double> a = numbered(2, 2);
    const ERMatrix<double> b(a);
    EXPECT_EQ(a.block(), b.block());
    EXPECT_EQ(b(1, 1), 11);
    EXPECT_EQ(b[1][0], 10);
    EXPECT_EQ(a.block(), b.block());
    a[1][0] = -1;
    a.col(1) = 5.0;
    EXPECT_EQ(rowsOf(a), (Rows{{0, 5}, {-1, 5}}));
    EXPECT_EQ(rowsOf(b), (Rows{{0, 1}, {10, 11}}));
    ERMatrix<double> c;
    c = b;
    EXPECT_TRUE(c == b);
    EXPECT_TRUE(a != b);
}

TEST(Matrix, PartsOfTheMatrixItselfMayBeInserted) {
    ERMatrix<double> m = numbered(2, 2);
    m.insertRow(1, m);
    EXPECT_EQ(rowsOf(m), (Rows{{0, 1}, {0, 1}, {10, 11}, {10, 11}}));
    m = numbered(2, 2);
    m.insertCol(1, m);
    EXPECT_EQ(rowsOf(m), (Rows{{0, 0, 1, 1}, {10, 10, 11, 11}}));
    m = numbered(2, 2);
    m.insertRow(2, m.row(0));
    m.insertCol(0, m.col(1));
    EXPECT_EQ(rowsOf(m), (Rows{{1, 0, 1}, {11, 10, 11}, {1, 0, 1}}));
    m.insertRow(0, m(1, 0));
    EXPECT_EQ(rowsOf(m)[0], (std::vector<double>{11, 11, 11}));
    m.replaceRow(3, 1, m);
    expectShape(m, 7, 3);
    EXPECT_EQ(m(3, 2), 11);
    EXPECT_EQ(m(6, 1), 0);
}

TEST(Matrix, WithoutItsLastRowOrColumnItIs0By0) {
    ERMatrix<double> m = numbered(3, 2);
    const ERMatrix<double> other(m);
    m.deleteRow(1, 0);
    m.deleteCol(1, 0);
    EXPECT_TRUE(m == other);
    m.deleteRow(0, 3);
    expectShape(m, 0, 0);
    m = other;
    m.deleteCol(0, 9);
    expectShape(m, 0, 0);
    m = other;
    const ERMatrix<double> all = m.splitAtRow(0);
    EXPECT_TRUE(all == other);
    expectShape(m, 0, 0);
    m = other;
    expectShape(m.splitAtCol(2), 0, 0);
    EXPECT_TRUE(m == other);
}

// Oracle: the same edits of a list of rows, while other matrices share the block.
TEST(Matrix, RandomEditsEqualThoseOfAListOfRows) {
    std::mt19937 random(20240503);
    const auto upTo = [&](std::size_t n) { return static_cast<unsigned>(random() % (n + 1)); };
    ERMatrix<double> m = numbered(3, 3);
    Rows rows = rowsOf(m);
    for (int step = 0; step < 5000; ++step) {
        const unsigned height = m.rows(), width = m.cols();
        const unsigned r = upTo(height), c = upTo(width);
        const unsigned r2 = upTo(height - 1), c2 = upTo(width - 1);
        const unsigned n = 1 + upTo(1);
        const ERMatrix<double> kept(m);
        const Rows before = rows;
        const auto asRow = [&](unsigned i) { return ERVec<double>(width, 1.0 * step + i); };
        const auto insertColumn = [&](unsigned at, auto value) {
            for (unsigned i = 0; i < rows.size(); ++i)
                rows[i].insert(rows[i].begin() + at, value(i));
        };
        switch (upTo(13)) {
            case 0:
                m.insertRow(r, 1.0 * step, n);
                rows.insert(rows.begin() + r, n, std::vector<double>(width, step));
                break;
            case 1:
                m.insertRow(r, asRow(4));
                rows.insert(rows.begin() + r, std::vector<double>(width, step + 4.0));
                break;
            case 2:
                m.insertRow(r, kept);
                rows.insert(rows.begin() + r, before.begin(), before.end());
                break;
            case 3:
                m.insertCol(c, 1.0 * step, n);
                for (unsigned i = 0; i < n; ++i) insertColumn(c, [&](unsigned) { return step; });
                break;
            case 4:
                m.insertCol(c, kept.col(c2));
                insertColumn(c, [&](unsigned i) { return before[i][c2]; });
                break;
            case 5:
                m.insertCol(c, kept);
                for (unsigned i = width; i-- > 0;)
                    insertColumn(c, [&](unsigned j) { return before[j][i]; });
                break;
            case 6:
                if (height <= n) break;
                m.deleteRow(r, n);
                rows.erase(rows.begin() + r, rows.begin() + std::min(r + n, height));
                break;
            case 7:
                if (width <= n) break;
                m.deleteCol(c, n);
                for (auto& row : rows)
                    row.erase(row.begin() + c, row.begin() + std::min(c + n, width));
                break;
            case 8:
                m.swapRow(r2, height - 1);
                std::swap(rows[r2], rows[height - 1]);
                m.swapCol(c2, 0);
                for (auto& row : rows) std::swap(row[c2], row[0]);
                break;
            case 9:
                m.reverseRows();
                std::reverse(rows.begin(), rows.end());
                break;
            case 10:
                m.reverseCols();
                for (auto& row : rows) std::reverse(row.begin(), row.end());
                break;
            case 11:
                m.replaceRow(r2, kept.row(0));
                rows[r2] = before[0];
                m.replaceCol(c2, m.col(0));
                for (auto& row : rows) row[c2] = row[0];
                break;
            case 12: {
                m.replaceRow(r, 2, numbered(1, width));
                rows.erase(rows.begin() + r, rows.begin() + std::min(r + 2, height));
                const Rows inserted = rowsOf(numbered(1, width));
                rows.insert(rows.begin() + r, inserted.begin(), inserted.end());
                m.replaceRow(r2 / 2, 0.5);
                rows[r2 / 2].assign(width, 0.5);
                break;
            }
            case 13: {
                ERMatrix<double> left = m;
                ERMatrix<double> right = left.splitAtCol(c);
                right.insertCol(0, left);
                ASSERT_TRUE(right == m);
                ERMatrix<double> top = m;
                const ERMatrix<double> bottom = top.splitAtRow(r);
                top.insertRow(top.rows(), bottom);
                ASSERT_TRUE(top == m);
                break;
            }
        }
        ASSERT_EQ(rowsOf(m), rows) << "after step " << step;
        ASSERT_EQ(m.length(), m.rows() * m.cols());
        ASSERT_EQ(rowsOf(kept), before) << "after step " << step;
        if (m.length() > 400) {
            m = numbered(3, 3);
            rows = rowsOf(m);
        }
    }
}

TEST(Matrix, PrintsSignedFixedAndLeavesTheStreamSo) {
    ERMatrix<double> m(1, 2);
    m(0, 0) = 1.5;
    m(0, 1) = -0.25;
    std::ostringstream os;
    os << m << 2.0;
    EXPECT_EQ(os.str(), "( r= 1, c=2)\n[+1.5000000   -0.2500000   ]\n+2.0000000");
    std::ostringstream empty;
    empty << ERMatrix<double>();
    EXPECT_EQ(empty.str(), "( r= 0, c=0)\n");
}

// It reads no values and fills nothing; only how far it reads is of use.
TEST(Matrix, ReaderConsumesSeparatorsAndLeavesTheMatrix) {
    ERMatrix<double> m = numbered(1, 1);
    std::istringstream is("2 3 [,,[,,[,,rest");
    m.readFrom(is);
    std::string rest;
    is >> rest;
    EXPECT_EQ(rest, "rest");
    EXPECT_TRUE(m == numbered(1, 1));

    std::istringstream hostile("0 4000000000");
    m.readFrom(hostile);
    std::istringstream own("( r= 1, c=1)\n[+1.0000000   ]\n");
    m.readFrom(own);
    EXPECT_TRUE(own.fail());
    EXPECT_TRUE(m == numbered(1, 1));
}

std::string word(unsigned value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(static_cast<unsigned char>(value >> shift));
    return bytes;
}

TEST(MatrixFile, IsRowsColumnsAndTheVector) {
    const TemporaryFile temporary;
    const ERMatrix<double> m = numbered(2, 3);
    {
        ERFile file(temporary.path(), ERFile::modeCreate | ERFile::modeReadWrite);
        m.saveGuts(file);
        ERMatrix<double>(0, 4).saveGuts(file);
    }
    EXPECT_EQ(m.binaryStoreSize(), 60u);
    EXPECT_EQ(temporary.bytes().substr(0, 12), word(2) + word(3) + word(48));
    ERFile file(temporary.path(), ERFile::modeRead);
    ERMatrix<double> restored;
    restored.restoreGuts(file);
    EXPECT_TRUE(restored == m);
    restored.restoreGuts(file);
    expectShape(restored, 0, 4);
}

TEST(MatrixFile, ShapesThatDoNotMatchRestoreAs0By0) {
    const std::string sixteenZeros(16, '\0');
    for (const std::string& bytes :
         {word(2) + word(2) + word(16) + sixteenZeros, word(0) + word(2) + word(16) + sixteenZeros,
          word(0x80000001) + word(2) + word(16) + sixteenZeros,  // matches at 32 bits
          word(1) + word(2) + word(17) + sixteenZeros,           // a length beyond the file
          word(0xFFFFFFFF) + word(0) + word(0), word(2), std::string()}) {
        const TemporaryFile temporary;
        temporary.setBytes(bytes);
        ERFile file(temporary.path(), ERFile::modeRead);
        ERMatrix<double> m = numbered(3, 3);
        m.restoreGuts(file);
        expectShape(m, 0, 0);
    }
}

}  // namespace
}  // namespace kerf
