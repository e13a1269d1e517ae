#ifndef SELVANE_BITMAP_CEXCEPTION_H
#define SELVANE_BITMAP_CEXCEPTION_H

#include "base/Export.h"

#include <stdexcept>

namespace Vornik
{

/// Common base of every failure that the library reports; never thrown as such.
///
/// The message lives in the std::runtime_error base. The five texts are copies from malloc that belong to nobody: no
/// destructor frees them, so that copies of the object may share them. A text whose copy found no memory, or that was
/// null, reads as null; the message and the line are always there.
class SELVANE_API cException : public std::runtime_error
{
public:
    /// Copies the texts in the order type, description, file, time stamp, signature; throws nothing of its own.
    /// pLine is the line in pFile, pFile a bare file name, pTimeStamp 24 characters ("Fri Sep 26 11:26:16 2025").
    cException(const char* const& pType, const char* const& pDescription, const char* const& pMessage, int pLine,
               const char* const& pFile, const char* const& pTimeStamp, const char* const& pFuncSig);
    ~cException() override;

    virtual const char* GetType() const;        ///< name of the class, or null
    virtual const char* GetDescription() const; ///< short title of the class of failure, or null
    virtual const char* GetMessage() const;     ///< what()
    virtual const char* GetFile() const;        ///< source file of the throw, without folder, or null
    virtual const char* GetTimeStamp() const;   ///< date and time of that file at build time, or null
    virtual const char* GetFuncSig() const;     ///< full signature of the throwing function, or null
    virtual int GetLine() const;                ///< line of the throw

    char* fType;
    char* fDescription;
    char* fFuncSig;
    char* fFile;
    char* fTimeStamp;
    int fLine;
};

/// An argument has a value that the operation does not take.
class SELVANE_API cArgumentException : public cException
{
public:
    cArgumentException(const char* pMessage, int pLine, const char* pFile, const char* pTimeStamp, const char* pFuncSig)
        : cException("cArgumentException", "Invalid Argument Error", pMessage, pLine, pFile, pTimeStamp, pFuncSig)
    {
    }
    ~cArgumentException() override;
};

/// A pointer argument is null. Not a cArgumentException.
class SELVANE_API cArgumentNullException : public cException
{
public:
    cArgumentNullException(const char* pMessage, int pLine, const char* pFile, const char* pTimeStamp,
                           const char* pFuncSig)
        : cException("cArgumentNullException", "Argument Null Error", pMessage, pLine, pFile, pTimeStamp, pFuncSig)
    {
    }
    ~cArgumentNullException() override;
};

/// No memory for the pixels of a bitmap. Memory from operator new reports std::bad_alloc instead.
class SELVANE_API cOutOfMemoryException : public cException
{
public:
    cOutOfMemoryException(const char* pMessage, int pLine, const char* pFile, const char* pTimeStamp,
                          const char* pFuncSig)
        : cException("cOutOfMemoryException", "Out of Memory", pMessage, pLine, pFile, pTimeStamp, pFuncSig)
    {
    }
    ~cOutOfMemoryException() override;
};

/// An object is not in a state that allows the operation.
class SELVANE_API cInvalidOperationException : public cException
{
public:
    cInvalidOperationException(const char* pMessage, int pLine, const char* pFile, const char* pTimeStamp,
                               const char* pFuncSig)
        : cException("cInvalidOperationException", "Invalid Operation Error", pMessage, pLine, pFile, pTimeStamp,
                     pFuncSig)
    {
    }
    ~cInvalidOperationException() override;
};

} // namespace Vornik

#endif
