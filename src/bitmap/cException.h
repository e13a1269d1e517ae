#ifndef SELVANE_BITMAP_CEXCEPTION_H
#define SELVANE_BITMAP_CEXCEPTION_H

#include "base/Export.h"

#include <stdexcept>

namespace Vornik
{

/// Base of all exception classes of the library. The library throws only its descendants.
///
/// The std::runtime_error base holds the message. The five other strings are copies from malloc. No destructor frees
/// them, because copies of the object share them. A string is null if it was given as null or if its copy found no
/// memory. The message and the line are always set.
class SELVANE_API cException : public std::runtime_error
{
public:
    /// Copies the strings in the order type, description, file, time stamp, signature. Throws only what
    /// std::runtime_error throws. pLine is a line of pFile. pFile is a file name without folder. pTimeStamp has 24
    /// characters ("Fri Sep 26 11:26:16 2025").
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

/// An argument has a value that the operation refuses.
class SELVANE_API cArgumentException : public cException
{
public:
    cArgumentException(const char* pMessage, int pLine, const char* pFile, const char* pTimeStamp, const char* pFuncSig)
        : cException("cArgumentException", "Invalid Argument Error", pMessage, pLine, pFile, pTimeStamp, pFuncSig)
    {
    }
    ~cArgumentException() override;
};

/// A pointer argument is null. Not derived from cArgumentException.
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

/// There is no memory for the pixels of a bitmap. A failing operator new throws std::bad_alloc instead.
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

/// The state of the object does not allow the operation.
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
