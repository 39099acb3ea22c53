#pragma once
// The ids of the numbered texts of uires.rc. The resource script includes this file too, and
// both resource compilers read only its #define lines: keep every id a plain decimal number.

// Command line
#define IDS_USAGE 1118
#define IDS_NO_WIZARD 1119

// Path variables
#define IDS_PATH_VARIABLES_WRONG_ROOT 2137

// The detection run
#define IDS_DETECTION_STARTED 5779
#define IDS_PACKAGE_HEADER 5780
#define IDS_NO_CONFLICTS 5781
#define IDS_CONFLICT_COUNT 5782
#define IDS_DETECTION_TOTAL 5848
#define IDS_EMPTY_REPOSITORY 5874
#define IDS_DETECTION_CANCELLED 5785
#define IDS_DETECTION_FAILED 5786

// Package access
#define IDS_INSTALLER_CALL_FAILED 59487

// Crash reports
#define IDS_UNEXPECTED_ERROR 65001

// Conflict rules: a title and a detail format each
#define IDS_CR1_TITLE 5819
#define IDS_CR1_DETAIL 64100
#define IDS_CR2_TITLE 5820
#define IDS_CR2_DETAIL 64101
#define IDS_CR3_TITLE 5821
#define IDS_CR3_DETAIL 5800
#define IDS_CR4_TITLE 5822
#define IDS_CR4_DETAIL 5801
#define IDS_CR5_TITLE 64102
#define IDS_CR5_DETAIL 5802
#define IDS_CR6_TITLE 5823
#define IDS_CR6_DETAIL 5803
#define IDS_CR7_TITLE 5824
#define IDS_CR7_DETAIL 5804
#define IDS_CR8_TITLE 5825
#define IDS_CR8_DETAIL 5805
#define IDS_CR9_TITLE 5826
#define IDS_CR9_DETAIL_DATA_SOURCE 5806
#define IDS_CR9_DETAIL_DRIVER 5807
#define IDS_CR10_TITLE 5827
#define IDS_CR10_DETAIL 5808
#define IDS_CR11_TITLE 5828
#define IDS_CR11_DETAIL 5809
#define IDS_CR12_TITLE 5829
#define IDS_CR12_DETAIL 5810
#define IDS_CR13_TITLE 5830
#define IDS_CR13_DETAIL 5811
#define IDS_CR14_TITLE 5831
#define IDS_CR14_DETAIL 5812
#define IDS_CR15_TITLE 5832
#define IDS_CR15_DETAIL 5813
#define IDS_CR16_TITLE 5833
#define IDS_CR16_DETAIL 5814
#define IDS_CR17_TITLE 5834
#define IDS_CR17_DETAIL 5815
#define IDS_CR18_TITLE 5835
#define IDS_CR18_DETAIL 5816
#define IDS_CR19_TITLE 5910
#define IDS_CR19_DETAIL 5911

// XML reader
#define IDS_XML_NO_MEMORY 65008
#define IDS_XML_NOT_VALID 65009
#define IDS_XML_UNREADABLE 65011
#define IDS_XML_CANNOT_OPEN 65012
