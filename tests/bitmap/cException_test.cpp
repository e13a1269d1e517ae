#include "bitmap/cException.h"

#include "bitmap/cMemUtils.h"
#include "support/Capture.h"

#include "Fixtures.h"

#include <gtest/gtest.h>

#include <ctime>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

template <class tException>
tException Make()
{
    return tException("words", 17, "cFile.cpp", "Fri Sep 26 11:26:16 2025", "void f()");
}

template <class tException>
void ExpectTexts(const char* pType, const char* pDescription)
{
    const tException exception = Make<tException>();
    EXPECT_STREQ(exception.GetType(), pType);
    EXPECT_STREQ(exception.GetDescription(), pDescription);
    EXPECT_STREQ(exception.GetMessage(), "words");
    EXPECT_STREQ(exception.what(), "words");
    EXPECT_EQ(exception.GetMessage(), exception.what());
    EXPECT_STREQ(exception.GetFile(), "cFile.cpp");
    EXPECT_STREQ(exception.GetTimeStamp(), "Fri Sep 26 11:26:16 2025");
    EXPECT_STREQ(exception.GetFuncSig(), "void f()");
    EXPECT_EQ(exception.GetLine(), 17);
}

TEST(cException, EachClassHasItsTwoFixedTextsAndAnswersSevenPieces)
{
    ExpectTexts<cArgumentException>("cArgumentException", "Invalid Argument Error");
    ExpectTexts<cArgumentNullException>("cArgumentNullException", "Argument Null Error");
    ExpectTexts<cOutOfMemoryException>("cOutOfMemoryException", "Out of Memory");
    ExpectTexts<cInvalidOperationException>("cInvalidOperationException", "Invalid Operation Error");
}

TEST(cException, TheBaseTakesItsSevenArgumentsInOrder)
{
    const cException exception("type", "description", "message", -5, "file", "stamp", "signature");
    EXPECT_STREQ(exception.fType, "type");
    EXPECT_STREQ(exception.fDescription, "description");
    EXPECT_STREQ(exception.what(), "message");
    EXPECT_EQ(exception.fLine, -5);
    EXPECT_STREQ(exception.fFile, "file");
    EXPECT_STREQ(exception.fTimeStamp, "stamp");
    EXPECT_STREQ(exception.fFuncSig, "signature");
    static_assert(std::is_constructible_v<cException, const char* const&, const char* const&, const char* const&, int,
                                          const char* const&, const char* const&, const char* const&>);
}

TEST(cException, TheTextsAreCopies)
{
    std::string type = "type", description = "description", file = "file", stamp = "stamp", signature = "signature";
    const cException exception(type.c_str(), description.c_str(), "message", 1, file.c_str(), stamp.c_str(),
                               signature.c_str());
    for (std::string* text : {&type, &description, &file, &stamp, &signature})
        text->assign(text->size(), '?');
    EXPECT_STREQ(exception.GetType(), "type");
    EXPECT_STREQ(exception.GetDescription(), "description");
    EXPECT_STREQ(exception.GetFile(), "file");
    EXPECT_STREQ(exception.GetTimeStamp(), "stamp");
    EXPECT_STREQ(exception.GetFuncSig(), "signature");
}

TEST(cException, ANullTextLeavesItsFieldNull)
{
    const cException exception(nullptr, nullptr, "message", 0, nullptr, nullptr, nullptr);
    EXPECT_EQ(exception.GetType(), nullptr);
    EXPECT_EQ(exception.GetDescription(), nullptr);
    EXPECT_EQ(exception.GetFile(), nullptr);
    EXPECT_EQ(exception.GetTimeStamp(), nullptr);
    EXPECT_EQ(exception.GetFuncSig(), nullptr);
    EXPECT_EQ(exception.GetLine(), 0);
    EXPECT_STREQ(exception.GetMessage(), "message");
}

TEST(cException, TheFamilyHasOneBaseAndNullIsNoDescendantOfArgument)
{
    static_assert(std::is_base_of_v<std::runtime_error, cException>);
    static_assert(std::is_base_of_v<cException, cArgumentException>);
    static_assert(std::is_base_of_v<cException, cArgumentNullException>);
    static_assert(std::is_base_of_v<cException, cOutOfMemoryException>);
    static_assert(std::is_base_of_v<cException, cInvalidOperationException>);
    static_assert(!std::is_base_of_v<cArgumentException, cArgumentNullException>);
    static_assert(std::has_virtual_destructor_v<cException>);
    static_assert(std::is_copy_constructible_v<cOutOfMemoryException>);

    EXPECT_THROW(throw Make<cArgumentException>(), cException);
    EXPECT_THROW(throw Make<cArgumentNullException>(), cException);
    EXPECT_THROW(throw Make<cOutOfMemoryException>(), cException);
    EXPECT_THROW(throw Make<cInvalidOperationException>(), cException);
    bool seenAsArgument = false;
    try {
        throw Make<cArgumentNullException>();
    } catch (const cArgumentException&) {
        seenAsArgument = true;
    } catch (const cException& exception) {
        EXPECT_STREQ(exception.GetType(), "cArgumentNullException");
    }
    EXPECT_FALSE(seenAsArgument);
}

TEST(cException, DescendantsAddNoFieldAndKeepTheOrderOfTheBase)
{
    static_assert(sizeof(cException) == sizeof(std::runtime_error) + 6 * sizeof(void*));
    static_assert(sizeof(cArgumentException) == sizeof(cException));
    static_assert(sizeof(cArgumentNullException) == sizeof(cException));
    static_assert(sizeof(cOutOfMemoryException) == sizeof(cException));
    static_assert(sizeof(cInvalidOperationException) == sizeof(cException));
    static_assert(std::is_same_v<decltype(cException::fType), char*>);
    static_assert(std::is_same_v<decltype(cException::fLine), int>);

    const cException e("", "", "", 0, "", "", "");
    EXPECT_EQ(OffsetOf(&e, &e.fType), 16);
    EXPECT_EQ(OffsetOf(&e, &e.fDescription), 24);
    EXPECT_EQ(OffsetOf(&e, &e.fFuncSig), 32);
    EXPECT_EQ(OffsetOf(&e, &e.fFile), 40);
    EXPECT_EQ(OffsetOf(&e, &e.fTimeStamp), 48);
    EXPECT_EQ(OffsetOf(&e, &e.fLine), 56);
}

TEST(cException, VirtualFunctionsStandInTheirOrder)
{
    EXPECT_EQ(SlotOf(&cException::what), 2);
    EXPECT_EQ(SlotOf(&cException::GetType), 3);
    EXPECT_EQ(SlotOf(&cException::GetDescription), 4);
    EXPECT_EQ(SlotOf(&cException::GetMessage), 5);
    EXPECT_EQ(SlotOf(&cException::GetFile), 6);
    EXPECT_EQ(SlotOf(&cException::GetTimeStamp), 7);
    EXPECT_EQ(SlotOf(&cException::GetFuncSig), 8);
    EXPECT_EQ(SlotOf(&cException::GetLine), 9);
}

template <class tException>
void ExpectSharedTable()
{
    const cException base("", "", "", 0, "", "", "");
    const tException descendant = Make<tException>();
    for (ptrdiff_t slot = 2; slot <= 9; ++slot)
        EXPECT_EQ(EntryOf(&descendant, slot), EntryOf(&base, slot)) << slot;
    EXPECT_NE(EntryOf(&descendant, 1), EntryOf(&base, 1)); // the deleting destructor bears the class's own name
    EXPECT_NE(typeid(descendant), typeid(base));
}

TEST(cException, DescendantsHaveTheirOwnDestructorsAndNothingElse)
{
    ExpectSharedTable<cArgumentException>();
    ExpectSharedTable<cArgumentNullException>();
    ExpectSharedTable<cOutOfMemoryException>();
    ExpectSharedTable<cInvalidOperationException>();
}

class cTalkative : public cArgumentException
{
public:
    using cArgumentException::cArgumentException;
    const char* what() const noexcept override { return "other words"; }
};

TEST(cException, GetMessageShowsAnOverriddenWhat)
{
    const cTalkative exception("words", 1, "f", "t", "s");
    const cException& seen = exception;
    EXPECT_STREQ(seen.GetMessage(), "other words");
}

TEST(cException, ACopyOutlivesItsSource)
{
    auto source = std::make_unique<cOutOfMemoryException>(Make<cOutOfMemoryException>());
    const cOutOfMemoryException copy(*source);
    EXPECT_EQ(copy.fType, source->fType); // shared, not copied again
    EXPECT_EQ(copy.fFuncSig, source->fFuncSig);
    source.reset();
    EXPECT_STREQ(copy.GetType(), "cOutOfMemoryException");
    EXPECT_STREQ(copy.GetDescription(), "Out of Memory");
    EXPECT_STREQ(copy.GetMessage(), "words");
    EXPECT_STREQ(copy.GetFile(), "cFile.cpp");
    EXPECT_STREQ(copy.GetTimeStamp(), "Fri Sep 26 11:26:16 2025");
    EXPECT_STREQ(copy.GetFuncSig(), "void f()");
    EXPECT_EQ(copy.GetLine(), 17);
}

TEST(cException, AThrownCheckSaysWhereItStands)
{
    const sFailure failure = FailureOf([] { cMemUtils::TiledBitmapFree(nullptr, 1, 1); });
    EXPECT_EQ(failure.fType, "cArgumentException");
    EXPECT_EQ(failure.fDescription, "Invalid Argument Error");
    EXPECT_EQ(failure.fMessage, "Argument 'pTiles' cannot be null.");
    EXPECT_EQ(failure.fFile, "cMemUtils.cpp");
    EXPECT_GT(failure.fLine, 0);
    EXPECT_EQ(WithoutBlanks(failure.fFuncSig), "staticvoidVornik::cMemUtils::TiledBitmapFree(void**,int,int)");
    tm time = {};
    EXPECT_EQ(failure.fTimeStamp.size(), 24u);
    const char* const end = strptime(failure.fTimeStamp.c_str(), "%a %b %e %H:%M:%S %Y", &time);
    EXPECT_TRUE(end != nullptr && *end == '\0') << failure.fTimeStamp;
}

TEST(cException, ChecksOfOneFunctionHaveLinesOfTheirOwn)
{
    const sFailure first = FailureOf([] { cMemUtils::TiledBitmapFree(nullptr, 1, 1); });
    void* tiles[1] = {};
    const sFailure second = FailureOf([&] { cMemUtils::TiledBitmapFree(tiles, 0, 1); });
    EXPECT_LT(first.fLine, second.fLine);
}

} // namespace
