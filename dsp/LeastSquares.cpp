#include "dsp/LeastSquares.h"

#include <cmath>

namespace {

// Singular values below the largest times this count as zero.
constexpr double kRankTolerance = 1e-6;
// Up to this many orthogonalising sweeps per singular value.
constexpr int kSweepsPerValue = 30;
// Two columns count as orthogonal once their normalised inner product falls
// below this (a few units of double rounding).
constexpr double kOrthogonality = 1e-15;

}  // namespace

// One-sided Jacobi decomposition: plane rotations applied to the columns of
// a copy of the matrix until every pair of columns is orthogonal. Then the
// copy is U S (column j has length s_j) and the accumulated rotations are V,
// so A = U S V^T and the pseudo-inverse solution is
//   x = sum over kept j of v_j (column_j . rhs) / s_j^2.
void solveLeastSquares(const double* matrix, int rows, int cols, const double* rhs, double* solution) {
    if (cols <= 0) return;
    if (cols > kMaxLeastSquaresColumns) cols = kMaxLeastSquaresColumns;
    for (int j = 0; j < cols; ++j) solution[j] = 0.0;
    if (rows <= 0) return;
    if (rows > kMaxLeastSquaresRows) rows = kMaxLeastSquaresRows;

    double us[kMaxLeastSquaresRows][kMaxLeastSquaresColumns] = {};
    double v[kMaxLeastSquaresColumns][kMaxLeastSquaresColumns] = {};
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) us[i][j] = matrix[i * cols + j];
    for (int j = 0; j < cols; ++j) v[j][j] = 1.0;

    // Each sweep visits every pair once; the sweep count is bounded so that
    // a matrix holding NaN or infinity cannot keep the loop going.
    const int maxSweeps = kSweepsPerValue * cols;
    for (int sweep = 0; sweep < maxSweeps; ++sweep) {
        bool rotated = false;
        for (int p = 0; p + 1 < cols; ++p) {
            for (int q = p + 1; q < cols; ++q) {
                double alpha = 0.0, beta = 0.0, gamma = 0.0;
                for (int i = 0; i < rows; ++i) {
                    alpha += us[i][p] * us[i][p];
                    beta += us[i][q] * us[i][q];
                    gamma += us[i][p] * us[i][q];
                }
                // Written so that NaN fails the test and leaves the pair.
                if (!(std::fabs(gamma) > kOrthogonality * std::sqrt(alpha * beta))) continue;
                // The rotation angle that zeroes the inner product of the pair.
                const double zeta = (beta - alpha) / (2.0 * gamma);
                const double t = std::copysign(1.0, zeta) / (std::fabs(zeta) + std::hypot(1.0, zeta));
                const double c = 1.0 / std::sqrt(1.0 + t * t);
                const double s = c * t;
                for (int i = 0; i < rows; ++i) {
                    const double up = us[i][p], uq = us[i][q];
                    us[i][p] = c * up - s * uq;
                    us[i][q] = s * up + c * uq;
                }
                for (int i = 0; i < cols; ++i) {
                    const double vp = v[i][p], vq = v[i][q];
                    v[i][p] = c * vp - s * vq;
                    v[i][q] = s * vp + c * vq;
                }
                rotated = true;
            }
        }
        if (!rotated) break;
    }

    double singular[kMaxLeastSquaresColumns] = {};
    double largest = 0.0;
    for (int j = 0; j < cols; ++j) {
        double sum = 0.0;
        for (int i = 0; i < rows; ++i) sum += us[i][j] * us[i][j];
        singular[j] = std::sqrt(sum);
        if (singular[j] > largest) largest = singular[j];
    }
    const double floor = largest * kRankTolerance;
    for (int j = 0; j < cols; ++j) {
        // A value below the floor (and a zero column) adds nothing.
        if (!(singular[j] >= floor) || singular[j] == 0.0) continue;
        double projection = 0.0;
        for (int i = 0; i < rows; ++i) projection += us[i][j] * rhs[i];
        const double weight = projection / (singular[j] * singular[j]);
        for (int k = 0; k < cols; ++k) solution[k] += v[k][j] * weight;
    }
}
