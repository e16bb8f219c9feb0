#include "logging/RecordFile.h"

#include <gmock/gmock.h>

#include <algorithm>

using namespace OrvoSupport;

namespace {

/// A disk with room for so many bytes.
struct Disk {
    std::string bytes;
    std::size_t room = 1000;
    int writes = 0;
};

class FakeFile : public platform::LogFile {
public:
    FakeFile(Disk& disk, const char* lineEnd, bool canTakeBack = true)
        : m_disk(disk), m_lineEnd(lineEnd), m_canTakeBack(canTakeBack) {}

    std::size_t write(const char* data, std::size_t size) override {
        const std::size_t count = std::min(size, m_disk.room);
        m_disk.bytes.append(data, count);
        m_disk.room -= count;
        ++m_disk.writes;
        return count;
    }
    bool takeBack(std::size_t size) override {
        if (!m_canTakeBack) return false;
        m_disk.bytes.resize(m_disk.bytes.size() - size);
        m_disk.room += size;
        return true;
    }
    const char* lineEnd() const override { return m_lineEnd; }

private:
    Disk& m_disk;
    const char* m_lineEnd;
    bool m_canTakeBack;
};

}  // namespace

TEST(RecordFileTest, writesARecordInOneCall) {
    Disk disk;
    RecordFile file(std::make_unique<FakeFile>(disk, "\n"));
    file.append("one\ntwo\n");
    EXPECT_EQ("one\ntwo\n", disk.bytes);
    EXPECT_EQ(1, disk.writes);
}

TEST(RecordFileTest, givesLinesTheEndOfTheSystem) {
    Disk disk;
    RecordFile file(std::make_unique<FakeFile>(disk, "\r\n"));
    file.append("one\ntwo\r\n\n");
    EXPECT_EQ("one\r\ntwo\r\r\n\r\n", disk.bytes);
    EXPECT_EQ(1, disk.writes);
}

TEST(RecordFileTest, takesBackWhatWentOutOfARecordTheDiskHasNoRoomFor) {
    Disk disk;
    RecordFile file(std::make_unique<FakeFile>(disk, "\n"));
    file.append("first\n");
    disk.room = 4;
    file.append("second\n");
    EXPECT_EQ("first\n", disk.bytes);
    disk.room = 0;
    file.append("third\n");
    disk.room = 100;
    file.append("fourth\n");
    EXPECT_EQ("first\nfourth\n", disk.bytes);
}

TEST(RecordFileTest, closesATornRecordItCannotTakeBackBeforeTheNext) {
    for (const std::string end : {"\n", "\r\n"}) {
        Disk disk;
        RecordFile file(std::make_unique<FakeFile>(disk, end.c_str(), false));
        disk.room = 4;
        file.append("first\n");
        file.append("second\n");
        EXPECT_EQ("firs", disk.bytes);
        disk.room = 100;
        file.append("third\n");
        file.append("fourth\n");
        EXPECT_EQ("firs" + end + "third" + end + "fourth" + end, disk.bytes);
    }
}
