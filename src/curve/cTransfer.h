#ifndef SELVANE_CURVE_CTRANSFER_H
#define SELVANE_CURVE_CTRANSFER_H

#include "base/Export.h"

namespace Vornik
{

/// A function of one channel value on the unit interval: a gamma curve, the sRGB curves, a sampled table, a tone curve.
///
/// Transfers of this header never change after construction and keep no state in Function, so one object may serve
/// several threads, although Function is not const.
class SELVANE_API cTransfer
{
public:
    cTransfer();
    cTransfer(const cTransfer&) = default;
    cTransfer& operator=(const cTransfer&) = default;
    virtual ~cTransfer();

    /// A new object of the same class with the same values; the caller deletes it.
    virtual cTransfer* Clone() const = 0;
    /// The value at pValue.
    virtual float Function(float pValue) = 0;
};

/// A power function with the reciprocal of fGamma as its exponent: a gamma of 2.2 encodes linear light, one of 1 / 2.2
/// decodes it.
class SELVANE_API cTransferGamma : public cTransfer
{
public:
    /// Any number is taken, 0 as well: its exponent is infinite.
    explicit cTransferGamma(float pGamma);
    ~cTransferGamma() override;

    cTransfer* Clone() const override;
    /// pow(pValue, 1 / fGamma) in double, rounded to float once. Nothing clamps: a negative value gives what pow gives.
    float Function(float pValue) override;

    float fGamma;
};

/// Linear light to sRGB, IEC 61966-2-1: a straight line up to 0.0031308 and a power function above.
class SELVANE_API cTransferLinearTo_sRGB : public cTransfer
{
public:
    cTransferLinearTo_sRGB();
    ~cTransferLinearTo_sRGB() override;

    cTransfer* Clone() const override;
    /// pValue as it is: values beyond the unit interval follow the same two formulas, NaN the straight line.
    float Function(float pValue) override;
};

/// sRGB to linear light, IEC 61966-2-1: a straight line up to 0.04045 and a power function above.
class SELVANE_API cTransfer_sRGBToLinear : public cTransfer
{
public:
    cTransfer_sRGBToLinear();
    ~cTransfer_sRGBToLinear() override;

    cTransfer* Clone() const override;
    /// pValue as it is: values beyond the unit interval follow the same two formulas, NaN the straight line.
    float Function(float pValue) override;
};

/// Straight lines between evenly spaced samples, as a colour profile stores a curve: the first sample stands at 0, the
/// last at 1.
class SELVANE_API cTransfer_Table : public cTransfer
{
public:
    /// An empty table, which Clone fills; it has no values for Function to read.
    cTransfer_Table();
    /// Copies pTableSize samples, 0 to 65535, as floats 0 to 1; the caller keeps pTable.
    /// Throws cArgumentNullException for a null pTable, then cArgumentException for a pTableSize below 2,
    /// std::bad_array_new_length where pTableSize + 1 does not fit an int, std::bad_alloc.
    cTransfer_Table(unsigned short* pTable, int pTableSize);
    cTransfer_Table(const cTransfer_Table&) = delete;
    cTransfer_Table& operator=(const cTransfer_Table&) = delete;
    ~cTransfer_Table() override;

    /// Throws std::bad_array_new_length where fTableSize + 1 does not count an array, std::bad_alloc.
    cTransfer* Clone() const override;
    /// The interpolated sample; values beyond the ends give the first and the last one, NaN gives NaN.
    float Function(float pValue) override;

    float* fTable;  ///< owned; fTableSize + 1 entries, of which the last repeats the one before it
    int fTableSize; ///< samples, without the repeated one
};

/// A transfer sampled once into a table, so that pixel loops read memory instead of calling a power function.
///
/// Users read fLUT of the four descendants directly: the array is the public face of the class. A cache does not keep
/// the transfer.
class SELVANE_API cTransferLUT
{
public:
    cTransferLUT();
    cTransferLUT(const cTransferLUT&) = default;
    cTransferLUT& operator=(const cTransferLUT&) = default;
    virtual ~cTransferLUT();

    /// Fills the whole table: one call of pTransfer's Function an entry, in ascending order. pTransfer is borrowed.
    /// Throws cArgumentNullException for a null pTransfer, and what Function throws.
    virtual void BuildCache(cTransfer* pTransfer) = 0;
};

/// 8-bit sample to float. Entry i holds the function at i / 255; the sample is the index.
class SELVANE_API cTransferLUT_I8F32 : public cTransferLUT
{
public:
    /// Fills the table from pTransfer, which is borrowed. Throws as BuildCache does.
    explicit cTransferLUT_I8F32(cTransfer* pTransfer);
    ~cTransferLUT_I8F32() override;

    void BuildCache(cTransfer* pTransfer) override;

    float fLUT[256];
};

/// 16-bit sample to float. Entry i holds the function at i / 65535; the sample is the index.
class SELVANE_API cTransferLUT_I16F32 : public cTransferLUT
{
public:
    /// Fills the table from pTransfer, which is borrowed. Throws as BuildCache does.
    explicit cTransferLUT_I16F32(cTransfer* pTransfer);
    ~cTransferLUT_I16F32() override;

    void BuildCache(cTransfer* pTransfer) override;

    float fLUT[65536];
};

/// Float to 8-bit sample. Entry i holds the function at i / 65535 times 255, truncated to an unsigned 32-bit number
/// (negative and NaN: 0) of which the low 8 bits are kept: nothing rounds to nearest and nothing stops at 255. A float
/// is looked up at 0 if it is below 0, at 65535 if it is above 1 or NaN, else at the truncation of itself times 65535.
class SELVANE_API cTransferLUT_F32I8 : public cTransferLUT
{
public:
    /// Fills the table from pTransfer, which is borrowed. Throws as BuildCache does.
    explicit cTransferLUT_F32I8(cTransfer* pTransfer);
    ~cTransferLUT_F32I8() override;

    void BuildCache(cTransfer* pTransfer) override;

    unsigned char fLUT[65536];
};

/// Float to 16-bit sample. Entry i holds the function at i / 65535 times 65535, truncated to an unsigned 32-bit number
/// (negative and NaN: 0) of which the low 16 bits are kept. Looked up as cTransferLUT_F32I8.
class SELVANE_API cTransferLUT_F32I16 : public cTransferLUT
{
public:
    /// Fills the table from pTransfer, which is borrowed. Throws as BuildCache does.
    explicit cTransferLUT_F32I16(cTransfer* pTransfer);
    ~cTransferLUT_F32I16() override;

    void BuildCache(cTransfer* pTransfer) override;

    unsigned short fLUT[65536];
};

} // namespace Vornik

#endif
