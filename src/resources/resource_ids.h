// Identifiers of the library's resources, shared by the resource script
// (cadserv.rc) and the code that loads the resources.
#ifndef CADSERV_RESOURCES_RESOURCE_IDS_H
#define CADSERV_RESOURCES_RESOURCE_IDS_H

// Display names of the well-known code pages, in list order.
#define IDS_CODEPAGE_DEFAULT 1
#define IDS_CODEPAGE_PURE_ASCII 2
#define IDS_CODEPAGE_437 3
#define IDS_CODEPAGE_850 4
#define IDS_CODEPAGE_852 5
#define IDS_CODEPAGE_1250 6
#define IDS_CODEPAGE_1251 7
#define IDS_CODEPAGE_1252 8
#define IDS_CODEPAGE_1253 9
#define IDS_CODEPAGE_1254 10

#endif  // CADSERV_RESOURCES_RESOURCE_IDS_H
