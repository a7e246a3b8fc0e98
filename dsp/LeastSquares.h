#pragma once
// Small least-squares problems through the singular value decomposition:
// singular values below the largest / 1e6 count as zero, and the
// pseudo-inverse is applied to the right-hand side.

inline constexpr int kMaxLeastSquaresRows = 8;
inline constexpr int kMaxLeastSquaresColumns = 4;

// matrix is rows x cols, row-major; solution gets cols values. rows and cols
// are at most the limits above. Pure function, no allocation.
void solveLeastSquares(const double* matrix, int rows, int cols, const double* rhs, double* solution);
