/*
 * find_duplicates: the smallest complete host of libtessel.
 *
 * Opens the default mail store (TESSEL_MAILDIR, else MAILDIR, else ~/Maildir), lists its folders, scans one folder
 * (the one named on the command line, else the Inbox) for messages with the same subject and sender, and prints
 * every group: the original first, its duplicates below, each with the subject read back from the message.
 * Nothing in the store is changed.
 *
 * Build: cc -std=c11 find_duplicates.c $(pkg-config --cflags --libs tessel)
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <tessel.h>

/* Entry texts of the message store are 8 (folder) or 16 (message) hexadecimal digits. */
#define ENTRY_SIZE 64

/* Depth of a folder in the tree: the folders come depth-first, each parent before its children. */
static int FolderDepth(const OEFolders *pFolders, const OEFolder *pFolder) {
    int nDepth = 0;
    const char *pszParent = pFolder->szParentEntry;
    while (pszParent) {
        const OEFolder *pParent = NULL;
        for (uint32_t i = 0; i < pFolders->cFolders && !pParent; ++i)
            if (strcmp(pFolders->pFolders[i].szEntry, pszParent) == 0) pParent = &pFolders->pFolders[i];
        if (!pParent) break;
        ++nDepth;
        pszParent = pParent->szParentEntry;
    }
    return nDepth;
}

/* The folder named pszName, or the Inbox when pszName is null. */
static const OEFolder *ChooseFolder(const OEFolders *pFolders, const char *pszName) {
    for (uint32_t i = 0; i < pFolders->cFolders; ++i) {
        const OEFolder *pFolder = &pFolders->pFolders[i];
        if (pszName ? strcmp(pFolder->szName, pszName) == 0 : pFolder->sfType == FOLDER_INBOX) return pFolder;
    }
    return NULL;
}

/* Prints one member of a group: its entry and its subject, read through TS_GetItemTextProp. */
static void PrintMember(CTessel *pLib, const char *pszRole, const char *pszEntry) {
    PropDesc subject = {u"subject", u"Subject", 0, TS_PR_OE_SUBJECT, NULL, 0, NULL, 0, TS_INTERFACE_VALUE, 1};
    TS_HITEM hItem = NULL;
    char *pszSubject = NULL;
    int32_t nResult = TS_OpenItem(pLib, API_OE, pszEntry, &hItem, 0);
    if (nResult == 0) nResult = TS_GetItemTextProp(pLib, API_OE, hItem, &subject, &pszSubject);
    if (nResult == 0)
        printf("  %-9s %s  \"%s\"\n", pszRole, pszEntry, pszSubject);
    else
        printf("  %-9s %s  (subject not readable: 0x%08x)\n", pszRole, pszEntry, (unsigned)nResult);
    TS_FreeBuffer(pLib, API_OE, pszSubject); /* a null buffer is fine */
    if (hItem) TS_CloseItem(pLib, API_OE, hItem);
}

/* Adds every message of the folder to a new search by subject and sender and prints the groups it finds.
   Returns the number of groups, or -1 if the scan could not run. */
static int ScanFolder(CTessel *pLib, const OEFolder *pFolder) {
    OEItems *pItems = NULL;
    if (OEGetItems(pLib, &pItems, pFolder->szEntry, 1, NULL, 0, 0) != 0 || !pItems) {
        fprintf(stderr, "cannot list the messages of %s\n", pFolder->szName);
        return -1;
    }

    PropDesc props[2] = {
        {u"subject", u"Subject", 0, TS_PR_OE_SUBJECT, NULL, 0, NULL, 0, TS_INTERFACE_VALUE, 1},
        {u"sender", u"Sender", 0, TS_PR_OE_SENDER_EMAIL, NULL, 0, NULL, 0, TS_INTERFACE_VALUE, 1},
    };
    PropList list = {2, props};
    OriginalDefinition rule;
    memset(&rule, 0, sizeof rule);
    rule.nDefinition = OD_FIRST_ADDED;

    CDuplicateSearch *pSearch = Search_Create(pLib, API_OE, &list, &rule);
    if (!pSearch) {
        OEFreeItems(pLib, pItems);
        return -1;
    }
    for (uint32_t i = 0; i < pItems->cItems; ++i)
        Search_Add(pSearch, pItems->pItems[i].szEntry, pFolder->szEntry, NULL, 0);
    Search_Build(pSearch);

    int nGroups = Search_GetOriginalCount(pSearch);
    printf("%s: %u messages, %d groups of duplicates\n", pFolder->szName, (unsigned)pItems->cItems, nGroups);
    for (int nGroup = 0; nGroup < nGroups; ++nGroup) {
        char szEntry[ENTRY_SIZE];
        uint32_t cbEntry = sizeof szEntry;
        printf("group %d\n", nGroup + 1);
        Search_GetOriginal(pSearch, nGroup, szEntry, &cbEntry, NULL, NULL);
        if (cbEntry <= sizeof szEntry) PrintMember(pLib, "original", szEntry);
        int nDuplicates = Search_GetDuplicateCount(pSearch, nGroup);
        for (int n = 0; n < nDuplicates; ++n) {
            cbEntry = sizeof szEntry;
            Search_GetDuplicate(pSearch, nGroup, n, szEntry, &cbEntry, NULL, NULL);
            if (cbEntry <= sizeof szEntry) PrintMember(pLib, "duplicate", szEntry);
        }
    }

    /* The search goes before the store closes; the list is plain memory. */
    Search_Delete(pSearch);
    OEFreeItems(pLib, pItems);
    return nGroups;
}

int main(int argc, char **argv) {
    CTessel *pLib = NULL;
    CreateTessel(&pLib);
    if (!pLib) {
        fprintf(stderr, "out of memory\n");
        return 1;
    }
    if (!OEInit(pLib, NULL, 0)) {
        fprintf(stderr, "no mail store (set TESSEL_MAILDIR to a Maildir)\n");
        DeleteTessel(pLib);
        return 1;
    }

    OEFolders *pFolders = NULL;
    OEGetFolders(pLib, &pFolders);
    if (!pFolders) {
        fprintf(stderr, "cannot list the folders\n");
        DeleteTessel(pLib);
        return 1;
    }
    printf("folders:\n");
    for (uint32_t i = 0; i < pFolders->cFolders; ++i) {
        const OEFolder *pFolder = &pFolders->pFolders[i];
        printf("  %*s%s (%u messages, %u unread)\n", 2 * FolderDepth(pFolders, pFolder), "", pFolder->szName,
               (unsigned)pFolder->cMessage, (unsigned)pFolder->cUnread);
    }

    int nExit = 1;
    const OEFolder *pFolder = ChooseFolder(pFolders, argc > 1 ? argv[1] : NULL);
    if (!pFolder)
        fprintf(stderr, "no folder %s\n", argc > 1 ? argv[1] : "Inbox");
    else if (ScanFolder(pLib, pFolder) >= 0)
        nExit = 0;

    OEFreeFolders(pLib, pFolders);
    OEDone(pLib);
    DeleteTessel(pLib);
    return nExit;
}
