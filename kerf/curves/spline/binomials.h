#pragma once
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "kerf/platform/config.h"
#include "kerf/platform/thread_storage.h"

// Binomial coefficients and factorials as doubles, kept as far as they were asked for.
namespace kerf {

/// Pascal's triangle: row n holds C(n, 0) to C(n, n) and begins at element n (n + 1) / 2 of one
/// array. Rows come into being when they are first asked for, 20 at a time.
/// Lifetime: a row once handed out stays valid, with its values, as long as the table.
/// Threads:  any thread may ask. What is there is read without a lock; growth takes one.
/// Failure:  coefficients are exact to row 56, then rounded once an addition; above row 1029 the
///           middle ones are infinite, and the table ends at row 1040.
class KERF_EXPORT TableauDePascal {
public:
    static constexpr unsigned int lastRow = 1040;
    /// The last row without an infinite coefficient.
    static constexpr unsigned int lastFiniteRow = 1029;

    constexpr TableauDePascal() = default;
    TableauDePascal(const TableauDePascal&) = delete;
    TableauDePascal& operator=(const TableauDePascal&) = delete;
    ~TableauDePascal();

    /// C(n, p): 0 for p > n. Beyond the last row it is computed anew each time.
    double Cnp(unsigned int n, unsigned int p);
    /// The n + 1 coefficients of row n; null beyond the last row.
    const double* Cnp(unsigned int n) {
        if (n >= rows_.load(std::memory_order_acquire)) return grownTo(n);
        return values_.load(std::memory_order_acquire) + getBaseIndex(n);
    }

    /// Makes rows 0 to `rows` at least, cut to the last row. Rows 0 and 1 come together.
    void ComputeTo(unsigned int rows);

    unsigned int rows() const { return rows_.load(std::memory_order_acquire); }  ///< that are there
    static constexpr unsigned int getBaseIndex(unsigned int n) { return n * (n + 1) / 2; }
    /// The elements of rows 0 to n.
    static constexpr unsigned int getInternalArraySize(unsigned int n) {
        return (n + 2) * (n + 1) / 2;
    }

private:
    // An array with room for more rows than are there; the ones it replaced hang on to it, since
    // their rows may still be in use.
    struct Block {
        std::unique_ptr<double[]> values;
        unsigned int lastRow;
        std::unique_ptr<Block> former;
    };

    const double* grownTo(unsigned int n);
    double* roomFor(unsigned int row);

    std::atomic<const double*> values_{nullptr};
    std::atomic<unsigned int> rows_{0};
    std::unique_ptr<Block> newest_;
    std::mutex growth_;
};

/// The table of the process.
extern KERF_EXPORT TableauDePascal theCnpTableau;

/// C(n, p), read from theCnpTableau.
inline double Cnp(unsigned int n, unsigned int p) { return theCnpTableau.Cnp(n, p); }

/// Factorials. Any thread may ask.
class KERF_EXPORT ERFactorialFactory {
public:
    ERFactorialFactory();
    ~ERFactorialFactory();
    ERFactorialFactory(const ERFactorialFactory&) = delete;
    ERFactorialFactory& operator=(const ERFactorialFactory&) = delete;

    /// n!: exact to 22, then rounded once a factor; infinity above 170. No lock is taken below 28.
    double Fact(unsigned int n);

private:
    std::vector<double> known_;  ///< empty until one above 27 is asked for
    CriticalSection growth_;
};

/// The factorials of the process.
extern KERF_EXPORT ERFactorialFactory theFactorielleFactory;

}  // namespace kerf
