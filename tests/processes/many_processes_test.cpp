// One image in two, three and eight processes at once.
#include "tests/processes/other_process.h"

#include <memory>

namespace {

class ManyProcesses : public testing::TestWithParam<int>
{
protected:
    ManyProcesses()
    {
        while (others.size() + 1 < static_cast<std::size_t>(GetParam()))
            others.push_back(std::make_unique<OtherProcess>());
    }

    /// Hands the image, by reference, to all.
    void Share(const ComPtr<ITavlo2>& image)
    {
        for (const auto& other : others)
            ASSERT_HR(S_OK, other->Do(Command::TakeImage, Marshaled(image.Get(), MSHCTX_LOCAL)));
    }

    /// Tells all at once; all must succeed.
    void Together(Command command, std::int64_t index = 0, std::int64_t value = 0)
    {
        for (const auto& other : others)
            other->Begin(command, index, value);
        for (const auto& other : others)
            EXPECT_HR(S_OK, other->Answer());
    }

    std::vector<std::unique_ptr<OtherProcess>> others;
};

/// Accessors' packets whose image only counts, but which have the section of a real one.
class CountedAccessors
{
public:
    Bytes Reader() { return Packet(ReaderOf(image_.Get()).Get()); }
    Bytes Writer() { return Packet(WriterOf(image_.Get()).Get()); }

    const ComPtr<CountingImage> counts = New<CountingImage>();

private:
    template <class Interface>
    Bytes Packet(Interface* accessor)
    {
        const Bytes real = Marshaled(accessor, MSHCTX_LOCAL);
        constexpr std::size_t own = 4 + 2 * 38; // the length and the text of a GUID
        const Bytes name(real.end() - own, real.end());
        Bytes packet(real.begin(), real.begin() + headerOfOwnMarshaling);
        EXPECT_HR(S_OK, Release(real));
        packet = Joined(std::move(packet), Marshaled<ITavloInternal>(counts.Get(), MSHCTX_LOCAL));
        return Joined(std::move(packet), name);
    }

    const ComPtr<ITavlo2> image_ = SharedImage();
};

} // namespace

TEST_P(ManyProcesses, EachSeesTheBytesOfAll)
{
    const auto image = SharedImage();
    const auto reader = ReaderOf(image.Get());
    const auto writer = WriterOf(image.Get());
    BytesAt(writer->Ptr(0))[0] = 100;
    for (const auto& other : others) {
        ASSERT_HR(S_OK, other->Do(Command::TakeReader, Marshaled(reader.Get(), MSHCTX_LOCAL)));
        const std::int64_t readersView = other->Value(Command::Address);
        ASSERT_HR(S_OK, other->Do(Command::TakeWriter, Marshaled(writer.Get(), MSHCTX_LOCAL)));
        EXPECT_NE(other->Value(Command::Address), readersView) << "the same bytes at another address";
    }
    std::uint8_t value = 100;
    for (const auto& other : others) {
        ++value;
        ASSERT_HR(S_OK, other->Do(Command::Poke, value - 100, value));
    }
    for (const auto& other : others) {
        ASSERT_HR(S_OK, other->Do(Command::DropWriter));
        for (long i = 0; i < GetParam(); ++i)
            EXPECT_EQ(other->Value(Command::Peek, i), 100 + i);
    }
    for (long i = 0; i < GetParam(); ++i)
        EXPECT_EQ(*BytesAt(reader->Ptr(i)), 100 + i);
}

TEST_P(ManyProcesses, AreCountedWhileTheyHoldAccessors)
{
    CountedAccessors accessors;
    const auto& counts = accessors.counts;
    int held = 0;
    for (const auto& other : others) {
        ++held;
        ASSERT_HR(S_OK, other->Do(Command::TakeReader, accessors.Reader()));
        ASSERT_HR(S_OK, other->Do(Command::TakeWriter, accessors.Writer()));
        EXPECT_EQ(counts->readers, held);
        EXPECT_EQ(counts->writers, held);
    }
    Together(Command::DropReader);
    EXPECT_EQ(counts->readers, 0);
    EXPECT_EQ(counts->writers, held);
    Together(Command::InvalidateWhole);
    EXPECT_EQ(counts->invalidated, held);

    // One ends well, if there is a second, and one is killed.
    if (others.size() > 1) {
        EXPECT_EQ(others.back()->End(), 0u);
        EXPECT_EQ(counts->writers, --held) << "who ends gives back what he holds";
        others.pop_back();
    }
    others.back()->Kill();
    others.pop_back();
    Together(Command::DropWriter);
    EXPECT_EQ(counts->writers, 1) << "but nobody does for one that was killed";
}

TEST_P(ManyProcesses, WriteOneAfterTheOther)
{
    const auto image = GreyImage(64, 48, Tavlo_SingleWriter);
    Share(image);
    const auto expectRefused = [&](const OtherProcess* holder) {
        EXPECT_HR(E_ACCESSDENIED, TryToWrite(image.Get()));
        for (const auto& other : others) {
            const bool isHolder = other.get() == holder;
            EXPECT_TRUE(isHolder || other->Do(Command::GetWriter) == E_ACCESSDENIED);
        }
    };
    for (const auto& other : others) {
        ASSERT_HR(S_OK, other->Do(Command::GetWriter));
        expectRefused(other.get());
        ASSERT_HR(S_OK, other->Do(Command::DropWriter));
    }
    {
        const auto writer = WriterOf(image.Get());
        expectRefused(nullptr);
    }
    const OtherProcess* holder = others.back().get();
    ASSERT_HR(S_OK, others.back()->Do(Command::GetWriter));
    others.back()->Kill();
    others.pop_back();
    expectRefused(holder);
    Together(Command::GetReader);
}

TEST_P(ManyProcesses, TakeAndGiveBackAccessorsAtTheSameTime)
{
    const auto image = SharedImage();
    const ULONG before = ReferencesOf(image.Get());
    Share(image);
    Together(Command::Cycle, 50);
    Together(Command::DropImage);
    EXPECT_TRUE(Becomes([&] { return ReferencesOf(image.Get()) == before; }));
}

TEST_P(ManyProcesses, ShareAnImageThatItsCreatorGaveUp)
{
    Signal gone;
    auto image = SharedImage();
    {
        const auto handler = New<Handler>(Handler::Reaction(), &gone);
        ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    }
    *BytesAt(WriterOf(image.Get())->Ptr(5)) = 55;
    Share(image);
    image.Reset();
    for (const auto& other : others) {
        EXPECT_FALSE(gone.IsSet()) << "somebody still has the image, and it holds its handler";
        ASSERT_HR(S_OK, other->Do(Command::GetReader));
        EXPECT_EQ(other->Value(Command::Peek, 5), 55);
        ASSERT_HR(S_OK, other->Do(Command::GetWriter));
        ASSERT_HR(S_OK, other->Do(Command::InvalidateWhole));
        ASSERT_HR(S_OK, other->Do(Command::DropReader));
        ASSERT_HR(S_OK, other->Do(Command::DropImage));
        EXPECT_FALSE(gone.IsSet()) << "an accessor is enough";
        ASSERT_HR(S_OK, other->Do(Command::DropWriter));
    }
    EXPECT_TRUE(gone.Wait()) << "with the last process the image goes";
}

TEST_P(ManyProcesses, AreAllToldOfUpdates)
{
    const auto image = SharedImage();
    Share(image);
    for (const EventMode mode : {Tavlo_Synchronous, Tavlo_Asynchronous})
        Together(Command::Subscribe, mode, mode);
    auto& last = *others.back();
    ASSERT_HR(S_OK, last.Do(Command::GetWriter));
    ASSERT_HR(S_OK, last.Do(Command::Invalidate, RECT{1, 2, 3, 4}));
    for (const auto& other : others) {
        for (const EventMode mode : {Tavlo_Synchronous, Tavlo_Asynchronous}) {
            EXPECT_EQ(other->Value(Command::AwaitUpdate, mode, 1), 1);
            EXPECT_EQ(other->x.rect, (RECT{1, 2, 3, 4}));
        }
    }
    for (const EventMode mode : {Tavlo_Synchronous, Tavlo_Asynchronous})
        Together(Command::Unsubscribe, mode);
}

TEST_P(ManyProcesses, GetErrorsWhenTheCreatorDies)
{
    auto& creator = *others.front();
    ASSERT_HR(S_OK, creator.Do(Command::MakeImage, RECT{0, 0, 20, 10}));
    ASSERT_HR(S_OK, creator.Do(Command::GetWriter));
    ASSERT_HR(S_OK, creator.Do(Command::Poke, 6, 66));
    const auto image = Unmarshaled<ITavlo2>(creator.Packet(Command::PassOn));
    const auto writer = Unmarshaled<IWriteAccessor>(creator.Packet(Command::SendWriter));
    ASSERT_NE(image.Get(), nullptr);
    ASSERT_NE(writer.Get(), nullptr);
    for (std::size_t i = 1; i < others.size(); ++i) {
        ASSERT_HR(S_OK, others[i]->Do(Command::TakeImage, creator.Packet(Command::PassOn)));
        ASSERT_HR(S_OK, others[i]->Do(Command::TakeWriter, creator.Packet(Command::SendWriter)));
        ASSERT_HR(S_OK, others[i]->Do(Command::Subscribe, 0, Tavlo_Asynchronous));
    }
    creator.Kill();
    others.erase(others.begin());

    const auto handler = New<Handler>();
    EXPECT_PRED1(IsRpcFailure, writer->Invalidate());
    EXPECT_PRED1(IsRpcFailure, TryToWrite(image.Get()));
    EXPECT_PRED1(IsRpcFailure, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    EXPECT_EQ(*BytesAt(writer->Ptr(6)), 66) << "the bytes stay";
    for (const auto& other : others) {
        EXPECT_PRED1(IsRpcFailure, other->Do(Command::InvalidateWhole));
        EXPECT_PRED1(IsRpcFailure, other->Do(Command::Describe));
        EXPECT_PRED1(IsRpcFailure, other->Do(Command::Unsubscribe, 0));
        EXPECT_EQ(other->Value(Command::Peek, 6), 66);
        ASSERT_HR(S_OK, other->Do(Command::Poke, 6, 66));
        EXPECT_HR(S_OK, other->Do(Command::DropWriter));
        EXPECT_HR(S_OK, other->Do(Command::DropImage));
    }
    // Everybody goes on with another image.
    const auto next = SharedImage();
    Share(next);
    Together(Command::GetReader);
}

INSTANTIATE_TEST_SUITE_P(Together, ManyProcesses, testing::Values(2, 3, 8),
                         [](const auto& tested) { return std::to_string(tested.param) + "Processes"; });
