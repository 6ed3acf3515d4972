// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/dsp/MatLib.h>
#include <KvxDevCommon01/dsp/MatMtxp.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

namespace {

using Matrix = CDataDoubleMtxCplx;
using Complex = CDataDoubleCplx;

struct BlockDeleter {
    void operator()(double* block) const { MatLibMtxpFree(block); }
};
using RealBlock = std::unique_ptr<double, BlockDeleter>;

bool IsCutoff(double cutoff) {
    return cutoff >= 0.0 && cutoff < 1.0;
}

/// The value of a cell known to lie inside.
Complex& At(const Matrix& m, __int64 row, __int64 col) {
    return *m.GetDataPtr(row, col);
}

Complex Conj(Complex z) {
    z.Conj();
    return z;
}

void Fill(Matrix* m, double value) {
    for (__int64 i = 0; i < m->GetNumRow(); ++i) {
        for (__int64 j = 0; j < m->GetNumCol(); ++j) At(*m, i, j).SetData(value, value);
    }
}

/// Largest magnitude of a real or imaginary part; NaN when one is.
double LargestPart(const Matrix& m) {
    double largest = 0.0;
    for (__int64 i = 0; i < m.GetNumRow(); ++i) {
        for (__int64 j = 0; j < m.GetNumCol(); ++j) {
            const Complex& z = At(m, i, j);
            if (std::isnan(z.GetReal()) || std::isnan(z.GetImaginary()))
                return std::numeric_limits<double>::quiet_NaN();
            largest = std::max({largest, std::abs(z.GetReal()), std::abs(z.GetImaginary())});
        }
    }
    return largest;
}

/// Pseudo-inverse through the singular values, which rotations of pairs of columns find (one-sided Jacobi
/// method): they make the columns of A V orthogonal, whose lengths are then the singular values.
class PseudoInverse {
public:
    bool Create(__int64 rows, __int64 cols) {
        isWide_ = rows < cols;
        return columns_.Create(std::min(rows, cols), std::max(rows, cols)) != 0 &&
               rotation_.Create(std::min(rows, cols), std::min(rows, cols)) != 0;
    }

    /// `inverse` has the transposed shape of `a`.
    void Calc(const Matrix& a, double cutoff, Matrix* inverse) {
        const double largest = LargestPart(a);
        if (!(largest <= std::numeric_limits<double>::max())) {
            Fill(inverse, std::numeric_limits<double>::quiet_NaN());
            return;
        }
        inverse->Zero();
        if (largest == 0.0) return;
        // A power of two keeps the squares below in range, whatever the units.
        const int exponent = -std::ilogb(largest);
        Load(a, exponent);
        Orthogonalise();
        AddDyads(cutoff, exponent, inverse);
    }

private:
    static constexpr int kMaxSweeps = 60;

    __int64 Count() const { return columns_.GetNumRow(); }
    Complex* Column(__int64 k) const { return columns_.GetDataPtr(k, 0); }
    Complex* Rotation(__int64 k) const { return rotation_.GetDataPtr(k, 0); }

    static Complex Scaled(const Complex& z, int exponent) {
        return {std::scalbn(z.GetReal(), exponent), std::scalbn(z.GetImaginary(), exponent)};
    }

    /// Takes the columns of `a` or, when it is wide, of its conjugate transpose.
    void Load(const Matrix& a, int exponent) {
        for (__int64 k = 0; k < Count(); ++k) {
            for (__int64 i = 0; i < columns_.GetNumCol(); ++i)
                Column(k)[i] = Scaled(isWide_ ? Conj(At(a, k, i)) : At(a, i, k), exponent);
            for (__int64 i = 0; i < Count(); ++i) Rotation(k)[i] = i == k ? 1.0 : 0.0;
        }
    }

    double SquaredLength(__int64 k) const {
        double sum = 0.0;
        for (__int64 i = 0; i < columns_.GetNumCol(); ++i) sum += Column(k)[i].GetAbsSq();
        return sum;
    }

    void Orthogonalise() {
        bool isDone = false;
        for (int sweep = 0; sweep < kMaxSweeps && !isDone; ++sweep) {
            isDone = true;
            for (__int64 p = 0; p < Count(); ++p) {
                for (__int64 q = p + 1; q < Count(); ++q) isDone = !RotatePair(p, q) && isDone;
            }
        }
    }

    /// Makes two columns orthogonal; whether they were not yet.
    bool RotatePair(__int64 p, __int64 q) {
        Complex product;
        for (__int64 i = 0; i < columns_.GetNumCol(); ++i)
            product += Complex::Mul(Conj(Column(p)[i]), Column(q)[i]);
        const double size = product.GetAbs();
        const double pp = SquaredLength(p), qq = SquaredLength(q);
        constexpr double kNegligible = 4.0 * std::numeric_limits<double>::epsilon();
        if (size <= kNegligible * std::sqrt(pp) * std::sqrt(qq)) return false;

        const double zeta = (qq - pp) / (2.0 * size);
        const double tangent = std::copysign(1.0 / (std::abs(zeta) + std::hypot(1.0, zeta)), zeta);
        const double cosine = 1.0 / std::hypot(1.0, tangent);
        const Complex phase = Complex::Mul(Conj(product), 1.0 / size);
        Rotate(Column(p), Column(q), columns_.GetNumCol(), cosine, cosine * tangent, phase);
        Rotate(Rotation(p), Rotation(q), Count(), cosine, cosine * tangent, phase);
        return true;
    }

    /// Turns a and b by an angle after b has been brought into phase with a.
    static void Rotate(Complex* a, Complex* b, __int64 count, double cosine, double sine,
                       const Complex& phase) {
        for (__int64 i = 0; i < count; ++i) {
            const Complex inPhase = Complex::Mul(b[i], phase);
            b[i] = Complex::Add(Complex::Mul(a[i], sine), Complex::Mul(inPhase, cosine));
            a[i] = Complex::Sub(Complex::Mul(a[i], cosine), Complex::Mul(inPhase, sine));
        }
    }

    /// Sums v w^H/|w|^2 over the columns w of A V that are not left out.
    void AddDyads(double cutoff, int exponent, Matrix* inverse) const {
        double longest = 0.0;
        for (__int64 k = 0; k < Count(); ++k) longest = std::max(longest, SquaredLength(k));
        for (__int64 k = 0; k < Count(); ++k) {
            const double squared = SquaredLength(k);
            if (squared <= cutoff * cutoff * longest) continue;
            for (__int64 i = 0; i < Count(); ++i) {
                const Complex v = Complex::Div(Rotation(k)[i], squared);
                for (__int64 j = 0; j < columns_.GetNumCol(); ++j) {
                    const Complex term = Scaled(Complex::Mul(v, Conj(Column(k)[j])), exponent);
                    if (isWide_) {
                        At(*inverse, j, i) += Conj(term);
                    } else {
                        At(*inverse, i, j) += term;
                    }
                }
            }
        }
    }

    bool isWide_ = false;
    Matrix columns_;   // a column per row
    Matrix rotation_;  // V, a column per row
};

/// Roots of the powers on the diagonal, or in the only column, of a line; 0 for a power below 0.
void SetAmplitudes(double* amplitudes, const Matrix& pow) {
    for (__int64 i = 0; i < pow.GetNumRow(); ++i) {
        const double power = At(pow, i, std::min(i, pow.GetNumCol() - 1)).GetReal();
        amplitudes[i] = power < 0.0 ? 0.0 : std::sqrt(power);
    }
}

/// Divides a number by the amplitude of a signal; one without power has nothing in common with others.
void DivideBy(double amplitude, Complex* z) {
    if (amplitude == 0.0) {
        z->Zero();
    } else {
        z->SetData(z->GetReal() / amplitude, z->GetImaginary() / amplitude);
    }
}

void DivideColumns(const double* amplitudes, Matrix* m) {
    for (__int64 i = 0; i < m->GetNumRow(); ++i) {
        for (__int64 k = 0; k < m->GetNumCol(); ++k) DivideBy(amplitudes[k], &At(*m, i, k));
    }
}

void DivideRows(const double* amplitudes, Matrix* m) {
    for (__int64 i = 0; i < m->GetNumRow(); ++i) {
        for (__int64 k = 0; k < m->GetNumCol(); ++k) DivideBy(amplitudes[i], &At(*m, i, k));
    }
}

/// One line of the spectra of the inputs, scaled to equal powers.
class InputLine {
public:
    bool Create(__int64 inputs) {
        amplitudes_.reset(MatLibMtxpAllocReal(1, inputs));
        return amplitudes_ != nullptr;
    }

    bool Load(const CDataArrayDoubleMtxCplx& inPow, __int64 line) {
        if (!inPow.SetMtxCplx(&pow_, line)) return false;
        for (__int64 k = 0; k < pow_.GetNumRow(); ++k) At(pow_, k, k).SetImaginary(0.0);
        SetAmplitudes(amplitudes_.get(), pow_);
        DivideRows(amplitudes_.get(), &pow_);
        DivideColumns(amplitudes_.get(), &pow_);
        return true;
    }

    const Matrix& Pow() const { return pow_; }
    const double* Amplitudes() const { return amplitudes_.get(); }

private:
    Matrix pow_;
    RealBlock amplitudes_;
};

/// Takes what input `pivot` explains out of the spectra of the other inputs and of the outputs. It explains
/// nothing when at most `cutoff` of its power is left.
void Eliminate(__int64 pivot, double cutoff, Matrix* in, Matrix* cross, double* outPowers) {
    const double power = At(*in, pivot, pivot).GetReal();
    if (power <= cutoff) return;
    const auto eliminate = [&](Matrix* m, __int64 row) {
        const Complex factor = Complex::Div(At(*m, row, pivot), power);
        for (__int64 k = 0; k < in->GetNumCol(); ++k)
            At(*m, row, k) -= Complex::Mul(factor, At(*in, pivot, k));
    };
    for (__int64 i = 0; i < cross->GetNumRow(); ++i) {
        outPowers[i] -= At(*cross, i, pivot).GetAbsSq() / power;
        eliminate(cross, i);
    }
    for (__int64 j = 0; j < in->GetNumRow(); ++j) {
        if (j != pivot) eliminate(in, j);
    }
}

/// Makes `out` rows x cols cells of `lines` lines from calc(line, values of the line).
template <class Calc>
int SetLines(CDataArrayDoubleMtxCplx* out, int isComplex, __int64 rows, __int64 cols, __int64 lines,
             Calc calc) {
    CDataArrayDoubleMtxCplx result;
    Matrix values;
    if (!result.Create(isComplex, rows, cols, lines) || !values.Create(rows, cols)) return 0;
    for (__int64 line = 0; line < lines; ++line) {
        if (!calc(line, &values) || !result.SetDataFromMtxCplx(values, line)) return 0;
    }
    *out = std::move(result);
    return 1;
}

/// Whether the shapes fit: square inPow, crossPow with a column per input.
bool FitTogether(const CDataArrayDoubleMtxCplx& inPow, const CDataArrayDoubleMtxCplx& crossPow) {
    return inPow.GetNumRow() >= 1 && inPow.GetNumRow() == inPow.GetNumCol() &&
           crossPow.GetNumCol() == inPow.GetNumCol() && crossPow.GetNum() == inPow.GetNum();
}

}  // namespace

int CMatMtxp::CalcXfr(CDataArrayDoubleMtxCplx* xfr, const CDataArrayDoubleMtxCplx& inPow,
                      const CDataArrayDoubleMtxCplx& crossPow, double cutoff) {
    if (xfr == nullptr || !FitTogether(inPow, crossPow) || !IsCutoff(cutoff)) return 0;
    const __int64 inputs = crossPow.GetNumCol();
    InputLine input;
    PseudoInverse pseudoInverse;
    Matrix inverse, cross;
    if (!input.Create(inputs) || !inverse.Create(inputs, inputs) || !pseudoInverse.Create(inputs, inputs))
        return 0;
    return SetLines(xfr, 1, crossPow.GetNumRow(), inputs, crossPow.GetNum(), [&](__int64 line, Matrix* h) {
        if (!input.Load(inPow, line) || !crossPow.SetMtxCplx(&cross, line)) return false;
        pseudoInverse.Calc(input.Pow(), cutoff, &inverse);
        DivideColumns(input.Amplitudes(), &cross);
        if (!Matrix::Mul(cross, inverse, h)) return false;
        DivideColumns(input.Amplitudes(), h);
        return true;
    });
}

int CMatMtxp::CalcIXfr(CDataArrayDoubleMtxCplx* ixfr, const CDataArrayDoubleMtxCplx& xfr, double cutoff) {
    const __int64 rows = xfr.GetNumRow(), cols = xfr.GetNumCol();
    PseudoInverse pseudoInverse;
    if (ixfr == nullptr || rows < 1 || !IsCutoff(cutoff) || !pseudoInverse.Create(rows, cols)) return 0;
    Matrix h;
    return SetLines(ixfr, 1, cols, rows, xfr.GetNum(), [&](__int64 line, Matrix* inverse) {
        if (!xfr.SetMtxCplx(&h, line)) return false;
        pseudoInverse.Calc(h, cutoff, inverse);
        return true;
    });
}

int CMatMtxp::CalcIxfr(CDataArrayDoubleMtxCplx* ixfr, const CDataArrayDoubleMtxCplx& inPow,
                       const CDataArrayDoubleMtxCplx& crossPow, double cutoff) {
    CDataArrayDoubleMtxCplx xfr;
    return CalcXfr(&xfr, inPow, crossPow) ? CalcIXfr(ixfr, xfr, cutoff) : 0;
}

int CMatMtxp::CalcPartCoh(CDataArrayDoubleMtxCplx* coherence, const CDataArrayDoubleMtxCplx& inPow,
                          const CDataArrayDoubleMtxCplx& outPow, const CDataArrayDoubleMtxCplx& crossPow,
                          double cutoff) {
    const __int64 inputs = crossPow.GetNumCol(), outputs = crossPow.GetNumRow();
    if (coherence == nullptr || !FitTogether(inPow, crossPow) || !IsCutoff(cutoff) ||
        outPow.GetNumRow() != outputs || outPow.GetNum() != crossPow.GetNum() ||
        (outPow.GetNumCol() != outputs && outPow.GetNumCol() != 1)) {
        return 0;
    }
    InputLine input;
    const RealBlock amplitudes(MatLibMtxpAllocReal(1, outputs));
    const RealBlock powers(MatLibMtxpAllocReal(1, outputs));
    if (!input.Create(inputs) || !amplitudes || !powers) return 0;
    Matrix out, cross, leftIn, leftCross;
    return SetLines(coherence, 0, outputs, inputs, crossPow.GetNum(), [&](__int64 line, Matrix* values) {
        if (!input.Load(inPow, line) || !outPow.SetMtxCplx(&out, line) || !crossPow.SetMtxCplx(&cross, line))
            return false;
        SetAmplitudes(amplitudes.get(), out);
        DivideRows(amplitudes.get(), &cross);
        DivideColumns(input.Amplitudes(), &cross);
        for (__int64 k = 0; k < inputs; ++k) {
            leftIn = input.Pow();
            leftCross = cross;
            if (leftIn.GetNumRow() != inputs || leftCross.GetNumRow() != outputs) return false;
            for (__int64 i = 0; i < outputs; ++i) powers.get()[i] = amplitudes.get()[i] == 0.0 ? 0.0 : 1.0;
            for (__int64 other = 0; other < inputs; ++other) {
                if (other != k) Eliminate(other, cutoff, &leftIn, &leftCross, powers.get());
            }
            const double inLeft = At(leftIn, k, k).GetReal();
            for (__int64 i = 0; i < outputs; ++i) {
                const double outLeft = powers.get()[i];
                const bool isEmpty = inLeft <= cutoff || outLeft <= cutoff;
                const double part = isEmpty ? 0.0 : At(leftCross, i, k).GetAbsSq() / inLeft / outLeft;
                At(*values, i, k) = part > 1.0 ? 1.0 : part;
            }
        }
        return true;
    });
}
