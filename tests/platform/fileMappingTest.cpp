#include "platform/fileMapping.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace tarvonel
{

namespace
{

/// A folder of the test's own, gone with it.
struct fileMappingTest : testing::Test
{
    std::filesystem::path folder = testing::TempDir();

    void SetUp() override
    {
        folder /= std::string("tarvonelMapping-") + testing::UnitTest::GetInstance()->current_test_info()->name();
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::string write(const std::string &name, const std::string &content) const
    {
        std::ofstream(folder / name, std::ios::binary) << content;
        return (folder / name).string();
    }
};

/// What the record holds before a call, to see that the call empties it.
fileMapping staleMapping()
{
    static const std::uint8_t elsewhere = 0;
    return {&elsewhere, 17, nullptr};
}

} // namespace

TEST_F(fileMappingTest, holdsEveryByteOfTheFile)
{
    constexpr std::size_t pageSize = 4096;
    for (const std::size_t size : {std::size_t{1}, pageSize - 1, pageSize, pageSize + 1, 3 * pageSize + 5})
    {
        std::string content(size, '\0');
        for (std::size_t index = 0; index < size; ++index)
            content[index] = static_cast<char>(index * 131 + 7);
        const std::string path = write("content", content);

        EXPECT_EQ(readableFileSize(path), static_cast<std::int64_t>(size));
        fileMapping mapping;
        ASSERT_EQ(mapFile(path, mapping), mappingResult::mapped);
        ASSERT_EQ(mapping.size, size);
        EXPECT_TRUE(std::equal(content.begin(), content.end(), reinterpret_cast<const char *>(mapping.data)));

        EXPECT_EQ(unmapFile(mapping), 0U);
        EXPECT_EQ(mapping.data, nullptr);
        EXPECT_EQ(mapping.size, 0U);
    }
}

TEST_F(fileMappingTest, outlivesTheFilesName)
{
    const std::string path = write("shortLived", "still here");
    fileMapping mapping;
    ASSERT_EQ(mapFile(path, mapping), mappingResult::mapped);
    std::filesystem::remove(path);
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(mapping.data), mapping.size), "still here");
    EXPECT_EQ(unmapFile(mapping), 0U);
}

TEST_F(fileMappingTest, whatIsNoReadableFileLeavesTheRecordEmpty)
{
    struct
    {
        std::string path;
        mappingResult result;
        std::int64_t size;
    } const cases[] = {
        {(folder / "missing").string(), mappingResult::notFound, -1},
        {(folder / "missing" / "deeper").string(), mappingResult::notFound, -1},
        {folder.string(), mappingResult::notFound, -1}, // a directory opens, but is no file
        {"", mappingResult::notFound, -1},
        {write("empty", ""), mappingResult::failed, 0}, // there is nothing to map
    };
    for (const auto &c : cases)
    {
        EXPECT_EQ(readableFileSize(c.path), c.size) << c.path;
        fileMapping mapping = staleMapping();
        unsigned long error = 0;
        EXPECT_EQ(mapFile(c.path, mapping, &error), c.result) << c.path;
        EXPECT_NE(error, 0U) << c.path;
        EXPECT_EQ(mapping.data, nullptr) << c.path;
        EXPECT_EQ(mapping.size, 0U) << c.path;
    }
}

#ifndef _WIN32
TEST_F(fileMappingTest, deviceIsNoFileAndIsNotWaitedFor)
{
    EXPECT_EQ(readableFileSize("/dev/null"), -1);
    fileMapping mapping;
    EXPECT_EQ(mapFile("/dev/null", mapping), mappingResult::notFound);
}
#endif

TEST_F(fileMappingTest, unmappingAnEmptyRecordDoesNothing)
{
    fileMapping mapping;
    EXPECT_EQ(unmapFile(mapping), 0U);
    EXPECT_EQ(unmapFile(mapping), 0U);
}

} // namespace tarvonel
