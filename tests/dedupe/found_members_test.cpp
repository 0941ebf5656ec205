// The members of a scan's groups, kept packed while the search lives and made into group records afterwards.
#include <gtest/gtest.h>

#include "foundmembers.h"

namespace {

std::vector<FolderInfo> Folders() {
    FolderInfo inbox, work;
    inbox.strEntry = "01000000";
    inbox.strPath = "Inbox";
    work.strEntry = "02000000";
    work.strPath = "Inbox/Work";
    return {inbox, work};
}

TEST(FoundMembers, GroupsKeepTheirOrderAndTheirMembersOrder) {
    CFoundMembers found;
    found.StartGroup();
    found.Add(true, "0100000001000000", "01000000");
    found.Add(false, "0200000005000000", "02000000");
    found.Add(false, "0100000003000000", "01000000");
    found.StartGroup();
    found.Add(true, "0200000007000000", "02000000");
    found.Add(false, "0200000002000000", "02000000");
    std::vector<ScanGroup> groups;
    found.MakeGroups(Folders(), groups);
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[0].original.strEntry, "0100000001000000");
    EXPECT_EQ(groups[0].original.strFolderEntry, "01000000");
    EXPECT_EQ(groups[0].original.strFolder, "Inbox");
    ASSERT_EQ(groups[0].duplicates.size(), 2u);
    EXPECT_EQ(groups[0].duplicates[0].strEntry, "0200000005000000");
    EXPECT_EQ(groups[0].duplicates[0].strFolder, "Inbox/Work");
    EXPECT_EQ(groups[0].duplicates[1].strEntry, "0100000003000000");
    EXPECT_EQ(groups[0].duplicates[1].strFolder, "Inbox");
    EXPECT_EQ(groups[1].original.strEntry, "0200000007000000");
    ASSERT_EQ(groups[1].duplicates.size(), 1u);
    EXPECT_EQ(groups[1].duplicates[0].strEntry, "0200000002000000");
}

TEST(FoundMembers, AGroupWithoutOriginalOrWithoutDuplicatesIsLeftOut) {
    CFoundMembers found;
    found.StartGroup(); // the original could not be read
    found.Add(false, "0100000002000000", "01000000");
    found.StartGroup(); // no duplicate could be read
    found.Add(true, "0100000003000000", "01000000");
    found.StartGroup(); // nothing could be read
    found.StartGroup(); // an original without an entry
    found.Add(true, "", "01000000");
    found.Add(false, "0100000004000000", "01000000");
    found.StartGroup();
    found.Add(true, "0100000005000000", "01000000");
    found.Add(false, "0100000006000000", "01000000");
    std::vector<ScanGroup> groups;
    found.MakeGroups(Folders(), groups);
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_EQ(groups[0].original.strEntry, "0100000005000000");
    ASSERT_EQ(groups[0].duplicates.size(), 1u);
    EXPECT_EQ(groups[0].duplicates[0].strEntry, "0100000006000000");
}

TEST(FoundMembers, AMemberOfAnUnknownFolderKeepsTheFolderEntryOnly) {
    CFoundMembers found;
    found.StartGroup();
    found.Add(true, "0900000001000000", "09000000");
    found.Add(false, "0100000001000000", "01000000");
    std::vector<ScanGroup> groups;
    found.MakeGroups(Folders(), groups);
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_EQ(groups[0].original.strFolderEntry, "09000000");
    EXPECT_EQ(groups[0].original.strFolder, "");
    EXPECT_EQ(groups[0].duplicates[0].strFolder, "Inbox");
}

TEST(FoundMembers, NothingFoundMakesNoGroups) {
    CFoundMembers found;
    found.StartGroup();
    std::vector<ScanGroup> groups;
    found.MakeGroups(Folders(), groups);
    EXPECT_TRUE(groups.empty());
}

} // namespace
