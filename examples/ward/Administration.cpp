#include "Administration.h"

#include "perlayer/platform/Format.h"

namespace ward {

namespace {

constexpr const char* kStatements[] = {
    // How to reach patients. There is a row for each.
    "create table OMRA.PATIENT_CONTACT (ID NUMBER primary key references OMRA.PATIENT (ID), "
    "PHONE VARCHAR2(20), KIN VARCHAR2(60))",
    "insert into OMRA.PATIENT_CONTACT (ID) select ID from OMRA.PATIENT",
    "create view OMRA.CONTACT as select ID PATIENT_ID, PHONE, KIN from OMRA.PATIENT_CONTACT",

    // The catalogue of code lists, and a table that they share.
    "create table OMRA.SIFRANTI (NAME VARCHAR2(30) primary key, TABLE_NAME VARCHAR2(30), "
    "LIST_FIELD VARCHAR2(30), CODE_FIELD VARCHAR2(30), SHORT_FIELD VARCHAR2(30), DESC_FIELD "
    "VARCHAR2(30), PARAMS_FIELD VARCHAR2(30), ACTIVE_FIELD VARCHAR2(30), TRASHOLD NUMBER(3), "
    "START_ORDER VARCHAR2(30))",
    "insert into OMRA.SIFRANTI values "
    "('SPOL', 'KODE', 'LIST', 'CODE', null, 'NAME', 'PARAMS', 'ACTIVE', 0, 'NAME')",
    "insert into OMRA.SIFRANTI values "
    "('ZAS', 'KODE', 'LIST', 'CODE', null, 'NAME', 'PARAMS', 'ACTIVE', 0, 'NAME')",
    "create table OMRA.KODE (LIST VARCHAR2(30), CODE VARCHAR2(5), NAME VARCHAR2(40), PARAMS "
    "VARCHAR2(60), ACTIVE VARCHAR2(1) default '1' not null, primary key (LIST, CODE))",
    "insert into OMRA.KODE (LIST, CODE, NAME) values ('SPOL', 'F', 'ženski')",
    "insert into OMRA.KODE (LIST, CODE, NAME) values ('SPOL', 'M', 'moški')",
    "insert into OMRA.KODE (LIST, CODE, NAME) values ('ZAS', 'S', 'samski')",
    "insert into OMRA.KODE (LIST, CODE, NAME) values ('ZAS', 'M', 'poročen')",
    "insert into OMRA.KODE (LIST, CODE, NAME) values ('ZAS', 'D', 'razvezan')",
    "insert into OMRA.KODE (LIST, CODE, NAME) values ('ZAS', 'W', 'ovdovel')",
    "insert into OMRA.KODE (LIST, CODE, NAME, PARAMS) values "
    "('ZAS', 'U', 'ni podatka', 'NI_VNOSA=TRUE')",

    // Which right an action needs, by number, and who has which. What is not named is everybody's.
    "create table OMRA.ACTION_RIGHT (ACTION VARCHAR2(60) primary key, CODE NUMBER not null)",
    "insert into OMRA.ACTION_RIGHT values ('O Patient Insert', 11)",
    "insert into OMRA.ACTION_RIGHT values ('O Patient Update', 12)",
    "insert into OMRA.ACTION_RIGHT values ('O Patient Delete', 13)",
    "insert into OMRA.ACTION_RIGHT values ('O Encounter Insert', 21)",
    "insert into OMRA.ACTION_RIGHT values ('O Encounter Update', 22)",
    "insert into OMRA.ACTION_RIGHT values ('O Encounter Delete', 23)",
    "insert into OMRA.ACTION_RIGHT values ('O Discharge Insert', 31)",
    "insert into OMRA.ACTION_RIGHT values ('O Discharge Update', 32)",
    "insert into OMRA.ACTION_RIGHT values ('O Discharge Delete', 33)",
    "create table OMRA.USER_RIGHT (USER_NAME VARCHAR2(30), CODE NUMBER, "
    "primary key (USER_NAME, CODE))",
    "insert into OMRA.USER_RIGHT select 'WARD', CODE from OMRA.ACTION_RIGHT",
    // The desk takes patients in and changes what it knows of them.
    "insert into OMRA.USER_RIGHT values ('DESK', 11)",
    "insert into OMRA.USER_RIGHT values ('DESK', 12)",
    // A visitor reads.
    "insert into OMRA.USER_RIGHT values ('GUEST', 0)",
};

}  // namespace

void WriteAdministration(TSqliteDatabase& database) {
  for (const char* statement : kStatements) database.Execute(statement);
}

std::string SequenceName(const std::string& table) { return Format("OMRA.NEXT_%s", table); }

}  // namespace ward
