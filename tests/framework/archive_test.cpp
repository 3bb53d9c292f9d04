#include <gtest/gtest.h>

#include "orvx/afx_file.h"
#include "orvx/whole_file.h"
#include "os/win32_codes.h"
#if !defined(_WIN32)
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "os/os_file.h"
#endif
#include "test_util.h"

using orvx_test::Bytes;
using orvx_test::Store;

TEST(Archive, ScalarsAreLittleEndianAtTheirWidths) {
  const Bytes b = Store([](CArchive& ar) {
    ar << BYTE{0xAB} << std::int8_t{-2} << WORD{0x1234} << std::int16_t{-3} << DWORD{0xDEADBEEF} << std::int32_t{-4};
  });
  EXPECT_EQ(b, (Bytes{0xAB, 0xFE, 0x34, 0x12, 0xFD, 0xFF, 0xEF, 0xBE, 0xAD, 0xDE, 0xFC, 0xFF, 0xFF, 0xFF}));
  CMemFile f(b);
  CArchive ar(&f, CArchive::load);
  BYTE u8; std::int8_t s8; WORD u16; std::int16_t s16; DWORD u32; std::int32_t s32;
  ar >> u8 >> s8 >> u16 >> s16 >> u32 >> s32;
  EXPECT_EQ(std::tuple(u8, s8, u16, s16, u32, s32),
            std::tuple(BYTE{0xAB}, std::int8_t{-2}, WORD{0x1234}, std::int16_t{-3}, DWORD{0xDEADBEEF}, -4));
  // Each direction refuses the other; flushing a loading archive writes nothing and keeps its place.
  EXPECT_THROW(ar.Write("x", 1), CArchiveException);
  CMemFile again(b);
  CArchive reading(&again, CArchive::load);
  EXPECT_EQ(reading.ReadScalar<BYTE>(), 0xAB);
  reading.Flush();
  EXPECT_EQ(reading.ReadScalar<std::int8_t>(), -2);
  EXPECT_EQ(reading.GetPosition(), 2u);
  EXPECT_EQ(again.Bytes(), b);
  CMemFile g;
  CArchive store(&g, CArchive::store);
  EXPECT_THROW(store.Read(&u8, 1), CArchiveException);
  BYTE many[32];
  CArchive none(nullptr, CArchive::load, 16);  // no file: nothing to read, even past the buffer's size
  EXPECT_EQ(none.Read(many, sizeof many), 0u);
}

TEST(Archive, StringLengthPrefixForms) {
  const std::pair<std::size_t, Bytes> cases[] = {
      {0, {0x00}}, {1, {0x01}}, {254, {0xFE}}, {255, {0xFF, 0xFF, 0x00}}, {0xFFFD, {0xFF, 0xFD, 0xFF}},
      {0xFFFE, {0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0x00, 0x00}}, {0x12345, {0xFF, 0xFF, 0xFF, 0x45, 0x23, 0x01, 0x00}},
  };
  for (const auto& [length, prefix] : cases) {
    SCOPED_TRACE(length);
    const std::string text(length, 'x');
    const Bytes b = Store([&](CArchive& ar) { ar << CString(text); });
    EXPECT_EQ(Bytes(b.begin(), b.begin() + static_cast<std::ptrdiff_t>(prefix.size())), prefix);
    EXPECT_EQ(b.size(), prefix.size() + length);
    CMemFile f(b);
    CArchive ar(&f, CArchive::load, 1024);
    CString back;
    ar >> back;
    EXPECT_EQ(back.str(), text);
    EXPECT_EQ(ar.GetPosition(), b.size());
  }
}

TEST(Archive, BadStringLengthsThrowWhereTheyAre) {
  // A length past the end of the data stops at the end; the wide-string form
  // (0xFFFE after 0xFF) is not ours.
  const std::tuple<Bytes, UINT, std::uint64_t, const char*> cases[] = {
      {{5, 'a', 'b'}, CArchiveException::endOfFile, 3, "data ended early at byte 3"},
      {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F, 'a'}, CArchiveException::endOfFile, 8, "data ended early at byte 8"},
      {{0xFF, 0xFE, 0xFF, 0x01, 0x41, 0x00}, CArchiveException::badSchema, 1, "malformed data at byte 1"},
  };
  for (const auto& [data, cause, offset, text] : cases) {
    CMemFile f(data);
    CArchive ar(&f, CArchive::load, 1024);
    CString s;
    try {
      ar >> s;
      ADD_FAILURE() << "no exception";
    } catch (const CArchiveException& e) {
      EXPECT_EQ(e.m_cause, static_cast<int>(cause));
      EXPECT_EQ(e.m_offset, offset);
      EXPECT_STREQ(e.what(), text);
    }
  }
}

TEST(Archive, SmallCallerBufferCarriesLargeData) {
  // Data far larger than the buffer, through the buffered and the direct path
  // of Write (reads: File.ReadAheadKeepsPositionsAndBytesExact).
  Bytes data(5000);
  for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<BYTE>(i * 7);
  BYTE storeBuffer[16];
  CMemFile out;
  {
    CArchive ar(&out, CArchive::store, sizeof storeBuffer, storeBuffer);
    ar.Write(data.data(), 3);
    ar.Write(data.data() + 3, 4000);
    for (std::size_t i = 4003; i < data.size(); ++i) ar << data[i];
    ar.Close();
  }
  EXPECT_EQ(out.Bytes(), data);
}

// Files open by bare name in the current directory; an archive over one reads
// ahead yet keeps positions and bytes exact.
TEST(File, ReadAheadKeepsPositionsAndBytesExact) {
  orvx_test::TempDir dir(true);
  Bytes data(200000);
  for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<BYTE>(i * 13 + (i >> 9));
  {
    CFile f;
    ASSERT_TRUE(f.Open("big.bin", CFile::modeCreate | CFile::modeWrite | CFile::typeBinary));
    f.Write(data.data(), static_cast<UINT>(data.size()));
  }
  // Whole, the file fits a limit of its own size and no less.
  std::string whole;
  EXPECT_FALSE(orvx::ReadWholeFile("big.bin", whole, data.size()).Failed());
  EXPECT_EQ(whole.size(), data.size());
  EXPECT_EQ(orvx::ReadWholeFile("big.bin", whole, data.size() - 1).code, orvx::Status::TooLarge);
  EXPECT_EQ(whole, "");
  for (const UINT keep : {UINT{CFile::modeNoTruncate}, UINT{0}}) {  // an existing file is emptied unless kept
    CFile again;
    ASSERT_TRUE(again.Open("big.bin", CFile::modeCreate | CFile::modeReadWrite | keep));
    EXPECT_EQ(again.GetLength(), keep ? data.size() : 0u);
    if (!keep) again.Write(data.data(), static_cast<UINT>(data.size()));
  }
  CFile f;
  ASSERT_TRUE(f.Open("big.bin", CFile::modeRead | CFile::typeBinary));
  EXPECT_EQ(f.GetLength(), data.size());
  BYTE buffer[1024];
  CArchive ar(&f, CArchive::load, sizeof buffer, buffer);
  Bytes back(data.size());
  std::size_t at = 0;
  // Mixed sizes: small scalars, buffer-sized reads and reads larger than the read-ahead.
  for (const std::size_t n : {1u, 3u, 1024u, 70000u, 5u, 100000u, 28967u}) {
    ar.ReadExact(back.data() + at, static_cast<UINT>(n));
    EXPECT_EQ(ar.GetPosition(), at += n);
  }
  EXPECT_EQ(back, data);
  try {
    ar.ReadScalar<BYTE>();
    FAIL() << "read past the end";
  } catch (const CArchiveException& e) {
    EXPECT_EQ(e.m_offset, data.size());
  }
  CFile missing, directory;
  CFileException error(CFileException::none, 0, "");
  EXPECT_FALSE(missing.Open("absent.bin", CFile::modeRead | CFile::typeBinary, &error));
  EXPECT_EQ(error.m_cause, CFileException::fileNotFound);
  EXPECT_FALSE(directory.Open(".", CFile::modeRead | CFile::typeBinary));
}

#if !defined(_WIN32)
// A host that closed its standard input gets descriptor 0 for the next file it
// opens: that is a file like any other.
TEST(File, DescriptorZeroIsAFile) {
  orvx_test::TempDir dir(true);
  const int saved = ::dup(0);
  ::close(0);
  EXPECT_FALSE(orvx::ReplaceWholeFile("zero.bin", "abc").Failed());  // its temporary file takes descriptor 0
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator("."), {}), 1);  // and was renamed, not left
  std::string bytes;
  ::close(0);
  EXPECT_FALSE(orvx::ReadWholeFile("zero.bin", bytes).Failed());
  EXPECT_EQ(bytes, "abc");
  ::close(0);
  CFile f;
  EXPECT_TRUE(f.Open("zero.bin", CFile::modeRead));
  f.Close();
  EXPECT_EQ(::fcntl(0, F_GETFD), -1);  // closed with the file
  EXPECT_TRUE(CFile().Open("zero.bin", CFile::modeRead));  // and when the file object ends
  EXPECT_EQ(::fcntl(0, F_GETFD), -1);
  ::dup2(saved, 0);
  ::close(saved);
}

// A wait for a lock that a signal interrupts goes on waiting.
TEST(File, LockWaitOutlastsSignals) {
  namespace os = orvx::os;
  orvx_test::TempDir dir(true);
  os::FileHandle holder, waiter;
  ASSERT_FALSE(orvx::ReplaceWholeFile("lock", "").Failed() || os::OpenFile("lock", {}, holder).Failed() ||
               os::OpenFile("lock", {}, waiter).Failed() || os::LockExclusive(holder).Failed());
  struct sigaction quiet {}, old {};
  quiet.sa_handler = [](int) {};  // without SA_RESTART: the wait fails with EINTR
  ::sigaction(SIGUSR1, &quiet, &old);
  orvx::Status locked(orvx::Status::Io, "still waiting");
  std::thread wait([&] { locked = os::LockExclusive(waiter); });
  for (int i = 0; i < 5; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(20)), ::pthread_kill(wait.native_handle(), SIGUSR1);
  os::CloseFile(holder);
  wait.join();
  ::sigaction(SIGUSR1, &old, nullptr);
  os::CloseFile(waiter);
  EXPECT_FALSE(locked.Failed()) << locked.message;
}
#endif

// The Windows error codes and attributes as the Win32 file calls read them.
TEST(File, Win32AnswersAndWhatTheyMean) {
  namespace w = orvx::os::win32;
  using orvx::Status;
  const std::pair<std::uint32_t, Status::Code> codes[] = {{2, Status::NotFound}, {3, Status::NotFound}, {5, Status::Io},
                                                          {32, Status::Sharing}, {39, Status::DiskFull}, {112, Status::DiskFull}};
  for (const auto& [error, code] : codes) EXPECT_EQ(w::CodeOf(error), code) << error;
  for (const std::uint32_t error : {4u, 5u, 6u, 7u}) EXPECT_EQ(w::NothingToFlush(error), error == 5 || error == 6) << error;
  // access denied, and the path's attributes: a directory, a read-only file, none (the query failed)
  EXPECT_TRUE(w::DeniedForADirectory(5, 0x10));
  EXPECT_FALSE(w::DeniedForADirectory(5, 0x01) || w::DeniedForADirectory(5, 0xFFFFFFFF) || w::DeniedForADirectory(32, 0x10));
  EXPECT_EQ(w::Nanoseconds(116444736000000001), 100);  // 1970 and 100 ns
  EXPECT_EQ(w::Join(1, 2), 0x100000002u);
  EXPECT_EQ(w::TrimMessage("Access is denied. \r\n") + w::TrimMessage(".") + w::TrimMessage("x"), "Access is deniedx");
}
