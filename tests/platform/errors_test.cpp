#include <gtest/gtest.h>

#include <cerrno>

#include "platform/errors.h"

namespace {

TEST(HResultFromErrno, StorageCodesForSpaceAndAccess) {
    EXPECT_EQ(HResultFromErrno(ENOSPC), STG_E_MEDIUMFULL);
    EXPECT_EQ(HResultFromErrno(EACCES), STG_E_ACCESSDENIED);
    EXPECT_EQ(HResultFromErrno(ENOMEM), E_OUTOFMEMORY);
    EXPECT_EQ(HResultFromErrno(EINVAL), E_INVALIDARG);
}

TEST(HResultFromErrno, OthersAsWin32Errors) {
    EXPECT_EQ(HResultFromErrno(ENOENT), static_cast<HRESULT>(0x80070002));
    EXPECT_EQ(HResultFromErrno(EEXIST), static_cast<HRESULT>(0x80070050));
    EXPECT_EQ(HResultFromErrno(EIO), static_cast<HRESULT>(0x8007045D));
    EXPECT_TRUE(FAILED(HResultFromErrno(0)));
}

TEST(Win32ErrorFromErrno, CommonCauses) {
    EXPECT_EQ(Win32ErrorFromErrno(0), ERROR_SUCCESS);
    EXPECT_EQ(Win32ErrorFromErrno(ENOENT), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Win32ErrorFromErrno(EEXIST), ERROR_FILE_EXISTS);
    EXPECT_EQ(Win32ErrorFromErrno(ENOSPC), ERROR_DISK_FULL);
    EXPECT_EQ(Win32ErrorFromErrno(EACCES), ERROR_ACCESS_DENIED);
}

TEST(FailWithErrno, SetsTheLastErrorAndFails) {
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(FailWithErrno(ENOTDIR));
    EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
}

} // namespace
