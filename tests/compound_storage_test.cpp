// Storage and StorageStream of the POSIX backend, as IStorage and IStream
// behave for the file stream: exclusive elements, elements outliving their
// root, seeking, reading, names, files on disk and the deny-write share.
#include "platform/posix/compound_storage.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/platform.h"
#include "platform/posix/compound_file.h"
#include "support/compound_file_builder.h"
#include "support/compound_file_tools.h"

namespace {

using cadserv::platform::IsStorageFile;
using cadserv::platform::OpenStorageFile;
using cadserv::platform::OpenStorageFromSource;
using cadserv::platform::Storage;
using cadserv::platform::StorageElement;
using cadserv::platform::StorageStream;
using cadserv::platform::cfb::MemorySource;
using namespace cadserv_test;

constexpr uint64_t kModified = 0x01DA123456789ABC;
const std::vector<uint8_t> kContents = PatternBytes(10000, 31);

CfbFile StorageSample() {
  return BuildCompoundFile(CfbNode::Storage(
      u"",
      {CfbNode::Stream(u"Contents", kContents, kModified),
       CfbNode::Stream(u"Small", PatternBytes(100, 32)),
       CfbNode::Stream(u"\u00c9t\u00e9 \u03a3\u03c3 \u0416\u0436", PatternBytes(5, 33)),
       CfbNode::Stream(u"ThirtyOneUnitsLongNameOfAStream", PatternBytes(7, 34)),
       CfbNode::Storage(u"Drawing", {CfbNode::Stream(u"Layer", PatternBytes(50, 35))}, 1, 2)}));
}

Ref<Storage> OpenSample() {
  return Ref<Storage>(OpenStorageFromSource(std::make_unique<MemorySource>(StorageSample().bytes)));
}

std::vector<uint8_t> ReadAll(StorageStream* stream) {
  std::vector<uint8_t> bytes;
  uint8_t chunk[777];
  uint32_t got = 0;
  while (stream->Read(chunk, sizeof chunk, &got) && got > 0)
    bytes.insert(bytes.end(), chunk, chunk + got);
  return bytes;
}

TEST(CompoundStorage, OpensEachElementExclusively) {
  Ref<Storage> root = OpenSample();
  ASSERT_NE(root, nullptr);
  Ref<StorageStream> first(root->OpenStream(u"Contents"));
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(root->OpenStream(u"Contents"), nullptr);
  EXPECT_EQ(root->OpenStream(u"CONTENTS"), nullptr) << "the same element in another case";
  Ref<StorageStream> other(root->OpenStream(u"Small"));
  EXPECT_NE(other, nullptr) << "other elements stay free";
  first.reset();
  Ref<StorageStream> again(root->OpenStream(u"Contents"));
  EXPECT_NE(again, nullptr) << "free again once released";

  Ref<Storage> drawing(root->OpenStorage(u"Drawing"));
  ASSERT_NE(drawing, nullptr);
  EXPECT_EQ(root->OpenStorage(u"Drawing"), nullptr);
  drawing->AddRef();
  drawing->Release();  // one reference left: still open
  EXPECT_EQ(root->OpenStorage(u"Drawing"), nullptr);
  drawing.reset();
  EXPECT_NE(Ref<Storage>(root->OpenStorage(u"Drawing")), nullptr);
}

TEST(CompoundStorage, ElementsStayReadableAfterTheirStoragesAreReleased) {
  Ref<Storage> root = OpenSample();
  ASSERT_NE(root, nullptr);
  Ref<Storage> drawing(root->OpenStorage(u"Drawing"));
  ASSERT_NE(drawing, nullptr);
  Ref<StorageStream> layer(drawing->OpenStream(u"Layer"));
  Ref<StorageStream> contents(root->OpenStream(u"Contents"));
  ASSERT_NE(layer, nullptr);
  ASSERT_NE(contents, nullptr);
  root.reset();
  drawing.reset();
  EXPECT_EQ(ReadAll(layer.get()), PatternBytes(50, 35));
  EXPECT_EQ(ReadAll(contents.get()), kContents);
}

TEST(CompoundStorage, OpensOnlyElementsOfTheAskedKind) {
  Ref<Storage> root = OpenSample();
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->OpenStream(u"Drawing"), nullptr);
  EXPECT_EQ(root->OpenStorage(u"Contents"), nullptr);
  EXPECT_EQ(root->OpenStream(u"Layer"), nullptr) << "only direct children";
  EXPECT_EQ(root->OpenStream(u"Missing"), nullptr);
  EXPECT_EQ(root->OpenStream(u""), nullptr);
  EXPECT_EQ(root->OpenStream(nullptr), nullptr);
  EXPECT_EQ(root->OpenStorage(nullptr), nullptr);
  EXPECT_EQ(root->OpenStream(u"Root Entry"), nullptr);
}

TEST(CompoundStorage, FindsNamesWithoutRegardToCase) {
  Ref<Storage> root = OpenSample();
  ASSERT_NE(root, nullptr);
  for (const char16_t* name : {u"contents", u"sMALL", u"\u00e9T\u00c9 \u03c3\u03a3 \u0436\u0416",
                               u"thirtyonEUNITSLONGNAMEOFASTREAM"}) {
    Ref<StorageStream> stream(root->OpenStream(name));
    EXPECT_NE(stream, nullptr);
  }
  // A 32nd unit makes another name, and no element has one that long.
  EXPECT_EQ(root->OpenStream(u"ThirtyOneUnitsLongNameOfAStreamX"), nullptr);
  EXPECT_EQ(root->OpenStream(u"Contents "), nullptr);
  EXPECT_EQ(root->OpenStream(u"Content"), nullptr);
}

TEST(CompoundStorage, ListsElementsWithTheirKindSizeAndTimes) {
  Ref<Storage> root = OpenSample();
  ASSERT_NE(root, nullptr);
  std::vector<StorageElement> elements;
  ASSERT_TRUE(root->ListElements(&elements));
  ASSERT_EQ(elements.size(), 5u);
  // Tree order: shorter names first.
  EXPECT_EQ(elements[0].name, u"Small");
  EXPECT_EQ(elements[1].name, u"Drawing");
  EXPECT_EQ(elements[2].name, u"Contents");
  EXPECT_TRUE(elements[1].isStorage);
  EXPECT_EQ(elements[1].createdFileTime, 1u);
  EXPECT_EQ(elements[1].modifiedFileTime, 2u);
  EXPECT_EQ(elements[1].size, 0u);
  EXPECT_FALSE(elements[2].isStorage);
  EXPECT_EQ(elements[2].size, kContents.size());
  EXPECT_EQ(elements[2].modifiedFileTime, kModified);
  EXPECT_FALSE(root->ListElements(nullptr));
}

TEST(CompoundStorage, StatGivesSizeAndModificationTime) {
  Ref<Storage> root = OpenSample();
  ASSERT_NE(root, nullptr);
  Ref<StorageStream> stream(root->OpenStream(u"Contents"));
  ASSERT_NE(stream, nullptr);
  uint64_t size = 0xDEADBEEF, modified = 0xDEADBEEF;
  ASSERT_TRUE(stream->Stat(&size, &modified));
  EXPECT_EQ(size, kContents.size());
  EXPECT_EQ(modified, kModified);
  Ref<StorageStream> small(root->OpenStream(u"Small"));
  ASSERT_TRUE(small->Stat(&size, &modified));
  EXPECT_EQ(size, 100u);
  EXPECT_EQ(modified, 0u);
}

TEST(CompoundStorage, ReadsUpToTheEndThenNothing) {
  Ref<Storage> root = OpenSample();
  ASSERT_NE(root, nullptr);
  Ref<StorageStream> stream(root->OpenStream(u"Contents"));
  ASSERT_NE(stream, nullptr);
  std::vector<uint8_t> buffer(20000, 0xAA);
  uint32_t got = 0xDEADBEEF;
  ASSERT_TRUE(stream->Read(buffer.data(), 9000, &got));
  EXPECT_EQ(got, 9000u);
  ASSERT_TRUE(stream->Read(buffer.data() + 9000, 5000, &got));
  EXPECT_EQ(got, 1000u) << "only what remains";
  EXPECT_EQ(std::vector<uint8_t>(buffer.begin(), buffer.begin() + 10000), kContents);
  EXPECT_EQ(buffer[10000], 0xAA) << "nothing written past the content";
  ASSERT_TRUE(stream->Read(buffer.data(), 100, &got));
  EXPECT_EQ(got, 0u);
  ASSERT_TRUE(stream->Read(buffer.data(), 0, nullptr));
}

TEST(CompoundStorage, SeeksAsIStreamDoes) {
  Ref<Storage> root = OpenSample();
  ASSERT_NE(root, nullptr);
  Ref<StorageStream> stream(root->OpenStream(u"Contents"));
  ASSERT_NE(stream, nullptr);
  struct Step {
    int64_t offset;
    uint32_t origin;
    bool ok;
    uint64_t position;  // after the step
  };
  const Step kSteps[] = {
      {100, 0, true, 100},
      {50, 1, true, 150},
      {-150, 1, true, 0},
      {-1, 1, false, 0},
      {0, 2, true, 10000},
      {-10000, 2, true, 0},
      {-10001, 2, false, 0},
      {5, 2, true, 10005},
      {INT64_MIN, 1, false, 10005},
      {INT64_MAX, 0, true, INT64_MAX},
      {INT64_MAX, 1, true, 2 * uint64_t{INT64_MAX}},
      {INT64_MAX, 1, false, 2 * uint64_t{INT64_MAX}},
      {4096, 0, true, 4096},
      {0, 3, false, 4096},
  };
  for (const Step& step : kSteps) {
    uint64_t position = 0xDEADBEEF;
    ASSERT_EQ(stream->Seek(step.offset, step.origin, &position), step.ok)
        << step.offset << " from " << step.origin;
    EXPECT_EQ(position, step.ok ? step.position : 0xDEADBEEF);
    ASSERT_TRUE(stream->Seek(0, 1, &position));
    EXPECT_EQ(position, step.position);
  }
  uint8_t bytes[4];
  uint32_t got = 0;
  ASSERT_TRUE(stream->Read(bytes, 4, &got));
  EXPECT_EQ(got, 4u);
  EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + 4),
            std::vector<uint8_t>(kContents.begin() + 4096, kContents.begin() + 4100));
  ASSERT_TRUE(stream->Seek(20000, 0, nullptr));
  ASSERT_TRUE(stream->Read(bytes, 4, &got));
  EXPECT_EQ(got, 0u) << "past the end reads nothing";
}

TEST(CompoundStorage, OpensFilesOnDiskByUtf16Paths) {
  TempDir dir;
  CfbFile file = StorageSample();
  std::string path = dir.Write("caf\xC3\xA9.cfb", file.bytes.data(), file.bytes.size());
  std::u16string wide = Widen(dir.path()) + u"/caf\u00e9.cfb";
  EXPECT_TRUE(IsStorageFile(wide.c_str()));
  Ref<Storage> root(OpenStorageFile(wide.c_str()));
  ASSERT_NE(root, nullptr);
  Ref<StorageStream> stream(root->OpenStream(u"Contents"));
  ASSERT_NE(stream, nullptr);
  root.reset();
  EXPECT_EQ(ReadAll(stream.get()), kContents);
}

TEST(CompoundStorage, IsStorageFileChecksTheSignature) {
  TempDir dir;
  CfbFile file = StorageSample();
  std::string signature(reinterpret_cast<const char*>(file.bytes.data()), 8);
  struct Case {
    const char* name;
    std::string bytes;
    bool isStorage;
  };
  const Case kCases[] = {{"signature-only", signature, true},
                         {"seven-bytes", signature.substr(0, 7), false},
                         {"empty", "", false},
                         {"text", "0\nSECTION\n2\nHEADER\n", false},
                         {"damaged", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE0", false}};
  for (const Case& c : kCases) {
    std::string path = dir.Write(c.name, c.bytes.data(), c.bytes.size());
    EXPECT_EQ(IsStorageFile(Widen(path).c_str()), c.isStorage) << c.name;
    if (!c.isStorage) {
      EXPECT_EQ(OpenStorageFile(Widen(path).c_str()), nullptr) << c.name;
    }
  }
  // A signature alone is no compound file.
  EXPECT_EQ(OpenStorageFile(Widen(dir.path() + "/signature-only").c_str()), nullptr);
  EXPECT_FALSE(IsStorageFile(Widen(dir.path() + "/missing").c_str()));
  EXPECT_EQ(OpenStorageFile(Widen(dir.path() + "/missing").c_str()), nullptr);
  EXPECT_FALSE(IsStorageFile(Widen(dir.path()).c_str())) << "a folder";
  EXPECT_EQ(OpenStorageFile(Widen(dir.path()).c_str()), nullptr);
  std::string fifo = dir.path() + "/fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_FALSE(IsStorageFile(Widen(fifo).c_str())) << "a FIFO, without blocking";
  EXPECT_EQ(OpenStorageFile(Widen(fifo).c_str()), nullptr);
  EXPECT_FALSE(IsStorageFile(nullptr));
  EXPECT_EQ(OpenStorageFile(nullptr), nullptr);
}

TEST(CompoundStorage, DenyWriteKeepsWritersOutWhileAnyElementIsOpen) {
  // Writers take an exclusive flock on the files they open.
  TempDir dir;
  CfbFile file = StorageSample();
  std::string path = dir.Write("locked.cfb", file.bytes.data(), file.bytes.size());
  auto writerCanLock = [&] {
    int descriptor = open(path.c_str(), O_RDWR);
    bool locked = flock(descriptor, LOCK_EX | LOCK_NB) == 0;
    close(descriptor);
    return locked;
  };
  Ref<Storage> root(OpenStorageFile(Widen(path).c_str()));
  ASSERT_NE(root, nullptr);
  EXPECT_FALSE(writerCanLock());
  Ref<StorageStream> stream(root->OpenStream(u"Small"));
  root.reset();
  EXPECT_FALSE(writerCanLock()) << "the element keeps the file open";
  Ref<Storage> second(OpenStorageFile(Widen(path).c_str()));
  EXPECT_NE(second, nullptr) << "readers share the file";
  second.reset();
  stream.reset();
  EXPECT_TRUE(writerCanLock());

  int writer = open(path.c_str(), O_RDWR);
  ASSERT_EQ(flock(writer, LOCK_EX | LOCK_NB), 0);
  EXPECT_EQ(OpenStorageFile(Widen(path).c_str()), nullptr) << "a writer holds the file";
  close(writer);
  EXPECT_NE(Ref<Storage>(OpenStorageFile(Widen(path).c_str())), nullptr);
}

}  // namespace
