#pragma once
// `ward tour`: walks through the main job of the layer and prints what is asked and what it
// answers. No answer stands in the program: each is read from the layer as it is told.

#include <string>

#include "Database.h"
#include "Narrator.h"

namespace ward {

// Loads the hospital into the file unless it holds one already. With `isScratch` the files go after
// the tour, and it says so.
void Tour(const std::string& databaseFile, const std::string& dataDirectory, bool isScratch);

// The scenes of the first act, in their order. Those that change rows roll the change back.
void ObjectScenes(TNarrator& narrator);  // TourObjects.cpp: from class map to typed values
void StatementScene(TNarrator& narrator, TSqliteDatabase& database);
void RetainerScenes(TNarrator& narrator);  // TourRetainers.cpp: who holds, who hears
void SubclassScene(TNarrator& narrator, TSqliteDatabase& database);  // TourRows.cpp
void MissingRowScenes(TNarrator& narrator);
void DeactivatedScene(TNarrator& narrator, TSqliteDatabase& database);
void BrokenMapScene(TNarrator& narrator);  // TourStatements.cpp: class maps and SQL
void CheckScene(TNarrator& narrator, TSqliteDatabase& database);
void SqlScene(TNarrator& narrator, TSqliteDatabase& database);

// TourWriting.cpp: the second act; it takes away what it has written.
void WritingAct(TNarrator& narrator, TSqliteDatabase& database, const std::string& databaseFile);

// TourSharing.cpp: the third act; what it changes it changes back.
void SharingAct(TNarrator& narrator, TSqliteDatabase& database, const std::string& databaseFile);

}  // namespace ward
