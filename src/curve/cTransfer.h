#ifndef SELVANE_CURVE_CTRANSFER_H
#define SELVANE_CURVE_CTRANSFER_H

#include "base/Export.h"

namespace Vornik
{

/// A function of one channel value on the unit interval: a gamma curve, the sRGB curves, a table, a tone curve.
///
/// The transfers of this header do not change after construction, and Function keeps no state. So several threads may
/// use one object, although Function is not const.
class SELVANE_API cTransfer
{
public:
    cTransfer();
    cTransfer(const cTransfer&) = default;
    cTransfer& operator=(const cTransfer&) = default;
    virtual ~cTransfer();

    /// Returns a new object of the same class with the same values. The caller deletes it.
    virtual cTransfer* Clone() const = 0;
    /// Returns the value of the function at pValue.
    virtual float Function(float pValue) = 0;
};

/// A power function with the exponent 1 / fGamma. A gamma of 2.2 encodes linear light; a gamma of 1 / 2.2 decodes it.
class SELVANE_API cTransferGamma : public cTransfer
{
public:
    /// Accepts any number. A gamma of 0 has an infinite exponent.
    explicit cTransferGamma(float pGamma);
    ~cTransferGamma() override;

    cTransfer* Clone() const override;
    /// pow(pValue, 1 / fGamma) in double, rounded to float once. Does not clamp: a negative value gives what pow gives.
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
    /// Does not clamp pValue. Values outside the unit interval use the same two formulas; NaN uses the straight line.
    float Function(float pValue) override;
};

/// sRGB to linear light, IEC 61966-2-1: a straight line up to 0.04045 and a power function above.
class SELVANE_API cTransfer_sRGBToLinear : public cTransfer
{
public:
    cTransfer_sRGBToLinear();
    ~cTransfer_sRGBToLinear() override;

    cTransfer* Clone() const override;
    /// Does not clamp pValue. Values outside the unit interval use the same two formulas; NaN uses the straight line.
    float Function(float pValue) override;
};

/// Straight lines between evenly spaced entries, as a colour profile stores a curve. The first entry is at 0, the last
/// at 1.
class SELVANE_API cTransfer_Table : public cTransfer
{
public:
    /// An empty table, which Clone fills. Function must not be called on it.
    cTransfer_Table();
    /// Copies pTableSize entries, 0 to 65535, as floats 0 to 1. The caller keeps pTable. Throws cArgumentNullException
    /// for a null pTable, then cArgumentException for a pTableSize below 2. Also throws std::bad_array_new_length if
    /// pTableSize + 1 does not fit an int, and std::bad_alloc.
    cTransfer_Table(unsigned short* pTable, int pTableSize);
    cTransfer_Table(const cTransfer_Table&) = delete;
    cTransfer_Table& operator=(const cTransfer_Table&) = delete;
    ~cTransfer_Table() override;

    /// Throws std::bad_array_new_length if fTableSize + 1 is negative or does not fit an int, and std::bad_alloc.
    cTransfer* Clone() const override;
    /// Returns the interpolated entry. Below 0 gives the first entry, above 1 the last; NaN gives NaN.
    float Function(float pValue) override;

    float* fTable;  ///< owned; fTableSize + 1 entries, the last one repeated
    int fTableSize; ///< entries, without the repeated one
};

/// A table of a transfer's values. Pixel loops read the table instead of calling a power function.
///
/// Callers read fLUT of the four descendants directly. A table does not keep its transfer.
class SELVANE_API cTransferLUT
{
public:
    cTransferLUT();
    cTransferLUT(const cTransferLUT&) = default;
    cTransferLUT& operator=(const cTransferLUT&) = default;
    virtual ~cTransferLUT();

    /// Fills the whole table with one call of pTransfer's Function per entry, in ascending order. pTransfer is
    /// borrowed. Throws cArgumentNullException for a null pTransfer, and what Function throws.
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

/// Float to 8-bit sample. Entry i is the function at i / 65535, times 255, truncated to an unsigned 32-bit number.
/// Negative values and NaN give 0. Only the low 8 bits are kept: there is no rounding to nearest and no limit at 255.
///
/// The index of a float below 0 is 0; above 1 or NaN it is 65535. Any other float is multiplied by 65535 and truncated.
class SELVANE_API cTransferLUT_F32I8 : public cTransferLUT
{
public:
    /// Fills the table from pTransfer, which is borrowed. Throws as BuildCache does.
    explicit cTransferLUT_F32I8(cTransfer* pTransfer);
    ~cTransferLUT_F32I8() override;

    void BuildCache(cTransfer* pTransfer) override;

    unsigned char fLUT[65536];
};

/// Float to 16-bit sample. Entry i is the function at i / 65535, times 65535, truncated to an unsigned 32-bit number.
/// Negative values and NaN give 0. Only the low 16 bits are kept. The index of a float is that of cTransferLUT_F32I8.
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
