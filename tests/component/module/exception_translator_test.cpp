#include "module/exception_translator.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

using namespace Mardu;

namespace {

using Link = std::unique_ptr<ExceptionTranslatorBase>;

/// A link for exceptions of type E that describes them by one result.
template <class E, HRESULT result>
Link LinkFor()
{
    const auto convert = [](const E&) { return HResultException(result); };
    using Function = HResultException (*)(const E&);
    return std::make_unique<ExceptionTranslator<E, Function>>(static_cast<Function>(convert));
}

/// A link that never describes anything and tells when it ends.
class Watched : public ExceptionTranslatorTail
{
public:
    explicit Watched(bool& ended) : ended_(ended) {}
    ~Watched() override { ended_ = true; }

private:
    bool& ended_;
};

Link Tail()
{
    return std::make_unique<ExceptionTranslatorTail>();
}

/// What a chain makes of an exception; S_FALSE when it lets it out.
template <class E>
HRESULT TranslatedBy(ExceptionTranslatorBase& chain, const E& exception)
{
    HResultException result(E_PENDING);
    try {
        throw exception;
    } catch (...) {
        try {
            chain.Translate(result);
        } catch (...) {
            EXPECT_EQ(result.hr, E_PENDING);
            return S_FALSE;
        }
    }
    return result.hr;
}

} // namespace

TEST(ExceptionTranslator, OwnsTheNextLink)
{
    bool ended = false;
    Link link = LinkFor<int, 1>();
    Link next = std::make_unique<Watched>(ended);
    link->SetNext(next);
    EXPECT_EQ(next, nullptr);
    EXPECT_FALSE(ended);
    link.reset();
    EXPECT_TRUE(ended);
}

TEST(ExceptionTranslator, GivesBackTheNextLink)
{
    const Link link = LinkFor<int, 1>();
    Link next = Tail();
    ExceptionTranslatorBase* const expected = next.get();
    EXPECT_EQ(link->SetNext(next), expected);
}

TEST(ExceptionTranslator, EndsTheLinkThatItsNextOneReplaces)
{
    bool ended = false;
    const Link link = LinkFor<int, 1>();
    Link first = std::make_unique<Watched>(ended);
    link->SetNext(first);
    Link second = Tail();
    link->SetNext(second);
    EXPECT_TRUE(ended);
}

TEST(ExceptionTranslator, KeepsItsNextLinkBehindAnInsertedOne)
{
    bool ended = false;
    const Link link = LinkFor<int, 1>();
    Link tail = std::make_unique<Watched>(ended);
    link->SetNext(tail);
    Link item = LinkFor<char, 2>();
    link->InsertAfter(item);
    EXPECT_EQ(item, nullptr);
    EXPECT_FALSE(ended);
    EXPECT_EQ(TranslatedBy(*link, 'c'), 2);
    EXPECT_EQ(TranslatedBy(*link, 5), 1);
}

TEST(ExceptionTranslator, GivesBackTheInsertedLink)
{
    const Link link = LinkFor<int, 1>();
    Link tail = Tail();
    link->SetNext(tail);
    Link item = LinkFor<char, 2>();
    ExceptionTranslatorBase* const expected = item.get();
    EXPECT_EQ(link->InsertAfter(item), expected);
}

TEST(ExceptionTranslator, LetsTheLinkNearestTheTailDescribeFirst)
{
    const Link head = LinkFor<std::exception, 1>();
    Link tail = Tail();
    head->SetNext(tail);
    Link middle = LinkFor<std::logic_error, 2>();
    ExceptionTranslatorBase* const last = head->InsertAfter(middle);
    Link nearest = LinkFor<std::logic_error, 3>();
    last->InsertAfter(nearest);
    EXPECT_EQ(TranslatedBy(*head, std::logic_error("")), 3);
    EXPECT_EQ(TranslatedBy(*head, std::runtime_error("")), 1);
}

TEST(ExceptionTranslator, DescribesDerivedExceptions)
{
    const Link link = LinkFor<std::exception, 1>();
    Link tail = Tail();
    link->SetNext(tail);
    EXPECT_EQ(TranslatedBy(*link, std::out_of_range("")), 1);
}

TEST(ExceptionTranslator, LetsOutWhatNoLinkKnows)
{
    const Link link = LinkFor<std::exception, 1>();
    Link tail = Tail();
    link->SetNext(tail);
    EXPECT_EQ(TranslatedBy(*link, 5), S_FALSE);
}

TEST(ExceptionTranslator, LetsOutWhatItsConversionThrows)
{
    using Function = HResultException (*)(const int&);
    const Function failing = [](const int&) -> HResultException { throw 'c'; };
    ExceptionTranslator<int, Function> link(failing);
    Link tail = Tail();
    link.SetNext(tail);
    EXPECT_EQ(TranslatedBy(link, 5), S_FALSE);
}

TEST(ExceptionTranslator, OffersWhatAConversionThrowsToTheLinksBefore)
{
    using Function = HResultException (*)(const int&);
    const Function failing = [](const int&) -> HResultException { throw std::runtime_error("again"); };
    const Link head = LinkFor<std::exception, 1>();
    Link tail = Tail();
    head->SetNext(tail);
    Link link = std::make_unique<ExceptionTranslator<int, Function>>(failing);
    head->InsertAfter(link);
    EXPECT_EQ(TranslatedBy(*head, 5), 1);
}

TEST(ExceptionTranslatorTail, TakesNoNextLink)
{
    ExceptionTranslatorTail tail;
    Link next = Tail();
    EXPECT_EQ(tail.SetNext(next), nullptr);
    EXPECT_NE(next, nullptr);
}

TEST(ExceptionTranslatorTail, TakesNoInsertedLink)
{
    ExceptionTranslatorTail tail;
    Link item = Tail();
    EXPECT_EQ(tail.InsertAfter(item), nullptr);
    EXPECT_NE(item, nullptr);
}

TEST(ExceptionTranslatorTail, ThrowsTheExceptionOnceMore)
{
    ExceptionTranslatorTail tail;
    HResultException result(S_OK);
    const std::runtime_error* first = nullptr;
    try {
        throw std::runtime_error("the same");
    } catch (const std::runtime_error& thrown) {
        first = &thrown;
        try {
            tail.Translate(result);
            FAIL();
        } catch (const std::runtime_error& again) {
            EXPECT_EQ(&again, first);
        }
    }
}
