// The file stream over compound files: the storage state, element streams,
// nested storages and their failure results, on files of the test builder
// and of other tools (libgsf's gsf, msitools' msibuild, read back by olefile).
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "cadserv/cadserv.h"
#include "frame/module_state.h"
#include "support/compound_file_builder.h"
#include "support/file_stream_helpers.h"

namespace {

using namespace cadserv_test;

const uint64_t kContentsTime = FileTimeOf(UtcSeconds(2019, 3, 4, 5, 6, 7));

std::string String(const std::vector<uint8_t>& bytes) {
  return std::string(bytes.begin(), bytes.end());
}

// A drawing-like compound file: a stream beyond the mini stream cutoff, one
// in the mini stream, and two levels of storages.
class FileStreamStorage : public ::testing::Test {
 protected:
  void SetUp() override {
    contents_ = PatternBytes(5000, 1);
    small_ = PatternBytes(100, 2);
    inner_ = PatternBytes(3000, 3);
    CfbNode root = CfbNode::Storage(
        u"Root Entry",
        {CfbNode::Stream(u"Contents", contents_, kContentsTime), CfbNode::Stream(u"Small", small_),
         CfbNode::Storage(u"Sub", {CfbNode::Stream(u"Inner", inner_),
                                   CfbNode::Storage(u"Deeper", {CfbNode::Stream(u"Leaf", {7})})})});
    CfbFile file = BuildCompoundFile(root);
    path_ = dir_.Write("drawing.dwg", file.bytes.data(), file.bytes.size());
    ASSERT_EQ(OpenStream(path_, SERV_MODE_READ, &storage_), SERV_OK);
  }

  TempDir dir_;
  std::vector<uint8_t> contents_, small_, inner_;
  std::string path_;
  StreamRef storage_;
};

constexpr uint32_t kElement = SERV_MODE_READ | SERV_MODE_ELEMENTSTREAM;
constexpr uint32_t kSubStorage = SERV_MODE_READ | SERV_MODE_SUBSTORAGE;

TEST_F(FileStreamStorage, StorageStreamCannotBeReadWrittenOrDescribed) {
  IServStream* storage = storage_.get();
  char byte;
  uint32_t count = 0xDEADBEEF;
  EXPECT_EQ(storage->Read(&byte, 1, &count), SERV_E_READ);
  EXPECT_EQ(count, 0u);
  count = 0xDEADBEEF;
  EXPECT_EQ(storage->Write("x", 1, &count), SERV_E_WRITE);
  EXPECT_EQ(count, 0u);
  // Seeking succeeds and changes nothing, not even the reported position.
  uint32_t position = 0xDEADBEEF;
  EXPECT_EQ(storage->Seek(5, SERV_SEEK_SET, &position), SERV_OK);
  EXPECT_EQ(position, 0xDEADBEEF);
  EXPECT_EQ(storage->Seek(-5, SERV_SEEK_END, &position), SERV_OK);
  EXPECT_EQ(storage->Seek(0, 3, &position), SERV_E_INVALIDARG);
  ServStreamInfo info{};
  EXPECT_EQ(storage->GetInfo(&info), SERV_E_NOINFO);
  EXPECT_EQ(storage->GetBuffer(), nullptr);
  EXPECT_EQ(std::u16string(storage->GetName()), Widen(path_));
}

TEST_F(FileStreamStorage, ElementStreamsReadSeekAndDescribeTheirElement) {
  struct Case {
    const char16_t* name;
    const std::vector<uint8_t>& data;
    uint32_t dosDateTime;
  };
  const Case cases[] = {
      {u"Contents", contents_, DosDateTimeOf(2019, 3, 4, 5, 6, 7)},
      {u"SMALL", small_, 0},  // names match without regard to case; no time: 0
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.name, c.name + std::char_traits<char16_t>::length(c.name)));
    StreamRef element;
    ASSERT_EQ(OpenStream(c.name, kElement, &element, storage_.get()), SERV_OK);
    EXPECT_EQ(std::u16string(element->GetName()), c.name);
    EXPECT_EQ(element->GetBuffer(), nullptr);
    EXPECT_EQ(String(ReadToEnd(element.get(), 1000)), String(c.data));

    ServStreamInfo info{0, 0, 0, 0xDEADBEEF};
    ASSERT_EQ(element->GetInfo(&info), SERV_OK);
    EXPECT_EQ(info.SizeLow, c.data.size());
    EXPECT_EQ(info.SizeHigh, 0u);
    EXPECT_EQ(info.DosDateTime, c.dosDateTime);
    EXPECT_EQ(info.Reserved, 0xDEADBEEFu);

    const uint32_t size = static_cast<uint32_t>(c.data.size());
    uint32_t position = 0;
    ASSERT_EQ(element->Seek(-10, SERV_SEEK_END, &position), SERV_OK);
    EXPECT_EQ(position, size - 10);
    uint8_t tail[20];
    uint32_t count = 0;
    ASSERT_EQ(element->Read(tail, sizeof tail, &count), SERV_OK);
    EXPECT_EQ(String(std::vector<uint8_t>(tail, tail + count)),
              String(std::vector<uint8_t>(c.data.end() - 10, c.data.end())));
    // Past the end is a position like any other (IStream allows it); before
    // the start fails, and a bad origin is a bad argument.
    ASSERT_EQ(element->Seek(10, SERV_SEEK_CUR, &position), SERV_OK);
    EXPECT_EQ(position, size + 10);
    ASSERT_EQ(element->Read(tail, 1, &count), SERV_OK);
    EXPECT_EQ(count, 0u);
    position = 0xDEADBEEF;
    EXPECT_EQ(element->Seek(-1, SERV_SEEK_SET, &position), SERV_E_READ);
    EXPECT_EQ(position, 0xDEADBEEF);
    EXPECT_EQ(element->Seek(0, 3, &position), SERV_E_INVALIDARG);
    count = 0xDEADBEEF;
    EXPECT_EQ(element->Write("x", 1, &count), SERV_E_WRITE);
    EXPECT_EQ(count, 0u);
  }
}

TEST_F(FileStreamStorage, ElementStaysReadableAfterItsStorageStreamIsReleased) {
  StreamRef element;
  ASSERT_EQ(OpenStream(u"Contents", kElement, &element, storage_.get()), SERV_OK);
  storage_.reset();
  EXPECT_EQ(String(ReadToEnd(element.get())), String(contents_));
}

// Elements are read from a mapping of the file: one that shrinks under it
// ends the element's bytes (the element reports what it read, 0), with no
// SIGBUS.
TEST_F(FileStreamStorage, ElementOfAFileThatShrinksUnderItReadsNoFurther) {
  StreamRef element;
  ASSERT_EQ(OpenStream(u"Contents", kElement, &element, storage_.get()), SERV_OK);
  uint8_t head[16];
  uint32_t count = 0;
  ASSERT_EQ(element->Read(head, sizeof head, &count), SERV_OK);
  ASSERT_EQ(count, sizeof head);
  ASSERT_EQ(truncate(path_.c_str(), 512), 0);
  std::vector<uint8_t> rest(8192);
  count = 0xDEADBEEF;
  EXPECT_EQ(element->Read(rest.data(), static_cast<uint32_t>(rest.size()), &count), SERV_OK);
  EXPECT_EQ(count, 0u);
  ServStreamInfo info{};
  EXPECT_EQ(element->GetInfo(&info), SERV_OK);
  EXPECT_EQ(info.SizeLow, contents_.size());
}

TEST_F(FileStreamStorage, NestedStoragesAreParentsOfTheirOwnElements) {
  StreamRef sub;
  ASSERT_EQ(OpenStream(u"Sub", kSubStorage, &sub, storage_.get()), SERV_OK);
  char byte;
  EXPECT_EQ(sub->Read(&byte, 1, nullptr), SERV_E_READ);
  ServStreamInfo info{};
  EXPECT_EQ(sub->GetInfo(&info), SERV_E_NOINFO);
  EXPECT_EQ(sub->Seek(3, SERV_SEEK_SET, nullptr), SERV_OK);

  StreamRef inner;
  ASSERT_EQ(OpenStream(u"Inner", kElement, &inner, sub.get()), SERV_OK);
  EXPECT_EQ(String(ReadToEnd(inner.get())), String(inner_));
  StreamRef deeper;
  ASSERT_EQ(OpenStream(u"Deeper", kSubStorage, &deeper, sub.get()), SERV_OK);
  sub.reset();
  storage_.reset();
  StreamRef leaf;
  ASSERT_EQ(OpenStream(u"Leaf", kElement, &leaf, deeper.get()), SERV_OK);
  EXPECT_EQ(ReadToEnd(leaf.get()), std::vector<uint8_t>({7}));
  // Elements of a nested storage are not elements of the root.
  StreamRef root;
  ASSERT_EQ(OpenStream(path_, SERV_MODE_READ, &root), SERV_OK);
  EXPECT_EQ(OpenStream(u"Inner", kElement, &inner, root.get()), SERV_E_OUTOFMEMORY);
}

TEST_F(FileStreamStorage, MissingElementsFailByTheirKind) {
  IServStream* root = storage_.get();
  StreamRef out;
  // No stream element of that name (a storage is none): out of memory.
  EXPECT_EQ(OpenStream(u"Missing", kElement, &out, root), SERV_E_OUTOFMEMORY);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(OpenStream(u"Sub", kElement, &out, root), SERV_E_OUTOFMEMORY);
  // No storage element of that name: the open failure of its access.
  EXPECT_EQ(OpenStream(u"Missing", kSubStorage, &out, root), SERV_E_OPENREAD);
  EXPECT_EQ(OpenStream(u"Contents", kSubStorage, &out, root), SERV_E_OPENREAD);
  EXPECT_EQ(OpenStream(u"Missing", SERV_MODE_WRITE | SERV_MODE_SUBSTORAGE, &out, root),
            SERV_E_OPENWRITE);
  // An element is open once at a time.
  StreamRef first;
  ASSERT_EQ(OpenStream(u"Contents", kElement, &first, root), SERV_OK);
  EXPECT_EQ(OpenStream(u"Contents", kElement, &out, root), SERV_E_OUTOFMEMORY);
  first.reset();
  EXPECT_EQ(OpenStream(u"Contents", kElement, &out, root), SERV_OK);
  EXPECT_EQ(OpenStream(std::u16string(262, u'x'), kElement, &out, root), SERV_E_INVALIDARG);
}

// A stream of the caller's own making: no file stream, so no storage.
class CallerStream : public IServStream {
 public:
  HRESULT QueryInterface(const GUID*, void** object) override {
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }
  SERVRESULT Read(void*, uint32_t, uint32_t*) override { return SERV_E_READ; }
  SERVRESULT Write(const void*, uint32_t, uint32_t*) override { return SERV_E_WRITE; }
  SERVRESULT Seek(int32_t, uint32_t, uint32_t*) override { return SERV_E_SEEK; }
  const WCHAR* GetName() override { return u""; }
  SERVRESULT GetInfo(ServStreamInfo*) override { return SERV_E_NOINFO; }
  const uint8_t* GetBuffer() override { return nullptr; }
};

TEST_F(FileStreamStorage, ParentsThatHoldNoStorageAreRefused) {
  StreamRef plain, element, out;
  std::string text = dir_.Write("plain.txt", "text", 4);
  ASSERT_EQ(OpenStream(text, SERV_MODE_READ, &plain), SERV_OK);
  ASSERT_EQ(OpenStream(u"Contents", kElement, &element, storage_.get()), SERV_OK);
  CallerStream foreign;
  for (IServStream* parent : {static_cast<IServStream*>(nullptr), plain.get(), element.get(),
                              static_cast<IServStream*>(&foreign)}) {
    EXPECT_EQ(OpenStream(u"Small", kElement, &out, parent), SERV_E_INVALIDARG);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(OpenStream(u"Sub", kSubStorage, &out, parent), SERV_E_OPENREAD);
    EXPECT_EQ(OpenStream(u"Sub", SERV_MODE_READWRITE | SERV_MODE_SUBSTORAGE, &out, parent),
              SERV_E_OPENWRITE);
  }
}

TEST_F(FileStreamStorage, EveryStreamOfTheTreeIsCountedUntilReleased) {
  const int32_t before = cadserv::frame::ObjectCount();
  {
    StreamRef sub, inner, contents;
    ASSERT_EQ(OpenStream(u"Sub", kSubStorage, &sub, storage_.get()), SERV_OK);
    ASSERT_EQ(OpenStream(u"Inner", kElement, &inner, sub.get()), SERV_OK);
    ASSERT_EQ(OpenStream(u"Contents", kElement, &contents, storage_.get()), SERV_OK);
    EXPECT_EQ(cadserv::frame::ObjectCount(), before + 3);
  }
  EXPECT_EQ(cadserv::frame::ObjectCount(), before);
}

TEST_F(FileStreamStorage, OpenStorageDeniesWritersAndAWriterDeniesIt) {
  StreamRef writer;
  EXPECT_EQ(OpenStream(path_, SERV_MODE_WRITE, &writer), SERV_E_OPENWRITE);
  EXPECT_EQ(OpenStream(path_, SERV_MODE_READWRITE, &writer), SERV_E_OPENWRITE);
  StreamRef second;
  EXPECT_EQ(OpenStream(path_, SERV_MODE_READ, &second), SERV_OK);  // readers share
  EXPECT_EQ(OpenStream(u"Small", kElement, &writer, second.get()), SERV_OK);
  second.reset();
  storage_.reset();
  writer.reset();
  ASSERT_EQ(OpenStream(path_, SERV_MODE_APPEND, &writer), SERV_OK);
  EXPECT_EQ(OpenStream(path_, SERV_MODE_READ, &second), SERV_E_SHARING);
}

TEST_F(FileStreamStorage, DamagedCompoundFileReadsAsAPlainFile) {
  std::vector<uint8_t> bytes = PatternBytes(2048, 9);
  const uint8_t signature[] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
  std::copy(std::begin(signature), std::end(signature), bytes.begin());
  std::string damaged = dir_.Write("damaged.dwg", bytes.data(), bytes.size());
  StreamRef stream;
  ASSERT_EQ(OpenStream(damaged, SERV_MODE_READ, &stream), SERV_OK);
  ASSERT_NE(stream->GetBuffer(), nullptr);
  EXPECT_EQ(String(ReadToEnd(stream.get())), String(bytes));
  StreamRef element;
  EXPECT_EQ(OpenStream(u"Contents", kElement, &element, stream.get()), SERV_E_INVALIDARG);
}

TEST(FileStreamOtherTools, ReadsTheElementsGsfWrote) {
  std::string error;
  ASSERT_TRUE(HaveProgram("gsf", "libgsf-bin", &error)) << error;
  TempDir dir;
  std::vector<uint8_t> big = PatternBytes(70000, 21), small = PatternBytes(300, 22);
  dir.Write("in/big.bin", big.data(), big.size());
  dir.Write("in/small.txt", small.data(), small.size());
  ASSERT_TRUE(RunCommand("cd '" + dir.path() +
                         "/in' && gsf createole ../made.ole big.bin small.txt >/dev/null 2>&1"));
  StreamRef root, element;
  ASSERT_EQ(OpenStream(dir.path() + "/made.ole", SERV_MODE_READ, &root), SERV_OK);
  for (auto [name, data] : {std::pair{u"big.bin", big}, {u"small.txt", small}}) {
    ASSERT_EQ(OpenStream(name, kElement, &element, root.get()), SERV_OK);
    EXPECT_EQ(String(ReadToEnd(element.get(), 65536)), String(data));
    ServStreamInfo info{};
    ASSERT_EQ(element->GetInfo(&info), SERV_OK);
    EXPECT_EQ(info.SizeLow, data.size());
    EXPECT_NE(info.DosDateTime, 0u);  // gsf stamps its time of writing
  }
}

TEST(FileStreamOtherTools, ReadsTheSummaryOfAnMsiAsOlefileDoes) {
  std::string error;
  ASSERT_TRUE(HaveProgram("msibuild", "msitools", &error)) << error;
  TempDir dir;
  std::string msi = dir.path() + "/tiny.msi";
  ASSERT_TRUE(RunCommand("msibuild '" + msi +
                         "' -s 'cadserv test' cadserv ';1033' "
                         "'{6A3E2F10-5C2B-4E43-9C7E-0C5F1D7A9B21}' >/dev/null"));
  ElementTree tree;
  ASSERT_TRUE(OlefileTree(msi, &tree, &error)) << error;
  ASSERT_EQ(tree.count("\x05SummaryInformation"), 1u);
  StreamRef root, summary;
  ASSERT_EQ(OpenStream(msi, SERV_MODE_READ, &root), SERV_OK);
  ASSERT_EQ(OpenStream(u"\u0005SummaryInformation", kElement, &summary, root.get()), SERV_OK);
  std::vector<uint8_t> bytes = ReadToEnd(summary.get());
  EXPECT_EQ(bytes.size(), tree["\x05SummaryInformation"].size);
  EXPECT_EQ(Crc32(bytes.data(), bytes.size()), tree["\x05SummaryInformation"].crc);
}

}  // namespace
