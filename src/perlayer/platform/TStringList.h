#pragma once
// TStringList: a list of texts, each with an object beside it. Objects are not owned and are kept
// as handles: an entry whose object has been destroyed answers nullptr.
//
// Unsorted, the order is that of adding. Sorted, the list keeps itself in order, and finds, adds
// and deletes in O(log n); Duplicates then decides what Add does with a text that is there already.
// Texts compare by CompareText unless CaseSensitive is set.
//
// Belongs to the thread that made it. Indices outside the list raise EListError
// "List index out of bounds (%d)".

#include <string>
#include <string_view>
#include <vector>

#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/TObject.h"
#include "perlayer/platform/TTextList.h"

namespace perlayer {

class TStream;

class TStringList : public TObject {
  TCLASS(TStringList, TObject)
 public:
  int Count() const { return FItems.Count(); }
  const std::string& Strings(int index) const { return FItems.TextAt(index); }
  // Raises EListError on a sorted list.
  void Strings(int index, std::string_view text);
  virtual TObject* Objects(int index) const { return FItems.PayloadAt(index).Get(); }
  void Objects(int index, TObject* object);
  // The entry as it was stored: tells a destroyed object from none.
  TObjectHandle ObjectHandle(int index) const { return FItems.PayloadAt(index); }

  // Returns the index of the new entry; of the old one when the list is sorted and ignores
  // duplicates. Raises EListError for a duplicate under dupError.
  // Texts given to any operation may be views into the list itself.
  int Add(std::string_view text) { return AddObject(text, nullptr); }
  int AddObject(std::string_view text, TObject* object);
  // Raise EListError on a sorted list.
  void Insert(int index, std::string_view text) { InsertObject(index, text, nullptr); }
  void InsertObject(int index, std::string_view text, TObject* object);
  void Exchange(int a, int b);
  void Move(int from, int to);

  virtual void Delete(int index);
  void Clear();
  // Each entry as by Add; where one raises, those before it stay.
  void AddStrings(const TStringList& other);
  void AddStrings(const std::vector<std::string>& texts);
  // Texts, objects and the settings of `other`, but not its OnChange.
  void Assign(const TStringList& other);
  // The same texts in the same order, bytes compared.
  bool Equals(const TStringList& other) const;

  // Index of the text, or -1: by search when sorted, the first otherwise.
  int IndexOf(std::string_view text) const;
  // Sorted lists: true with the index of the text, false with the index where it would go. With
  // dupAccept the index is that of the first of equal texts, otherwise of the one met first by the
  // search. Raises EListError on an unsorted list.
  bool Find(std::string_view text, int& index) const;
  // The lowest index whose text begins with `prefix`, in any case, or -1; quick when sorted.
  int FindFirstPrefix(std::string_view prefix) const { return FItems.FindFirstPrefix(prefix); }
  int IndexOfObject(const TObject* object) const;  // first entry with that object, or -1

  // "NAME=VALUE" entries; names compare by CompareText whatever CaseSensitive says.
  int IndexOfName(std::string_view name) const;
  std::string Names(int index) const;  // what stands before the first "=", empty without one
  std::string ValueFromIndex(int index) const;      // what stands behind it, empty without one
  std::string Values(std::string_view name) const;  // empty when absent
  // Replaces the text of the entry, adds one or, with an empty value, deletes it. Replacing raises
  // EListError on a sorted list.
  void Values(std::string_view name, std::string_view value);

  // Lines, each closed by CR LF on the way out; CR LF, CR and LF end a line on the way in. All
  // setters from text replace the list whole, or leave it as it was when they raise; texts go
  // through Add, so a sorted list orders them and treats duplicates as always.
  std::string Text() const;
  void Text(std::string_view text);
  // Text from the stream's position to its end, or all of a file; a mark of UTF-8 in front of it is
  // no part of the first line. Text to the stream's position, or in the place of a file, which is
  // replaced whole. Raise EStreamError when that fails.
  void LoadFromStream(TStream& source);
  void SaveToStream(TStream& target) const;
  void LoadFromFile(const std::string& path);
  void SaveToFile(const std::string& path) const;
  // Delimiter "," and quote '"'.
  std::string CommaText() const;
  void CommaText(std::string_view text);
  // Items with blanks, control characters, the delimiter or the quote are quoted, quotes inside
  // doubled. Reading also splits at blanks outside quotes, unless StrictDelimiter is set; a quote
  // that is never closed takes the rest of the text. What is written reads back as the same items
  // as long as QuoteChar is neither a blank nor the delimiter. With QuoteChar 0 nothing is quoted.
  std::string DelimitedText() const;
  void DelimitedText(std::string_view text);
  char Delimiter() const { return FDelimiter; }
  void Delimiter(char c) { FDelimiter = c; }
  char QuoteChar() const { return FQuoteChar; }
  void QuoteChar(char c) { FQuoteChar = c; }
  bool StrictDelimiter() const { return FStrictDelimiter; }
  void StrictDelimiter(bool strict) { FStrictDelimiter = strict; }

  bool Sorted() const { return FItems.Sorted(); }
  void Sorted(bool sorted);  // setting it sorts the list, stably
  TDuplicates Duplicates() const { return FItems.Duplicates(); }
  void Duplicates(TDuplicates duplicates) { FItems.Duplicates(duplicates); }
  bool CaseSensitive() const { return FItems.CaseSensitive(); }
  void CaseSensitive(bool sensitive);  // sorts a sorted list anew
  void Sort();                         // once, stably; an unsorted list stays so
  void Capacity(int count) { FItems.Reserve(count); }

  // Called after every change of texts, objects or order, with the list as sender. The handler may
  // change or free the list; what it raises reaches whoever made the change, which stays made.
  const TNotifyEvent& OnChange() const { return FOnChange; }
  void OnChange(TNotifyEvent event) { FOnChange = std::move(event); }
  // One OnChange at the end for all changes between, none without a change; calls nest.
  void BeginUpdate() { ++FUpdateCount; }
  void EndUpdate();

 protected:
  // For a class that keeps something beside the list; called before OnChange is. An entry has come,
  // or has another object; one is about to go; anything may be different.
  virtual void Entered(int /*index*/) noexcept {}
  virtual void Leaving(int /*index*/) noexcept {}
  virtual void Rearranged() noexcept {}
  void Changed();  // calls OnChange, now or at the end of the update
  // For a class that knows by itself which texts there are; sorted lists. Adds a text that is not
  // empty and compares equal to none, where order wants it, without looking for its place yet;
  // deletes one that has not been given its place, false when it may have been. Neither calls
  // anything above; whoever adds and deletes calls Changed. Deleting takes no memory.
  void AddUnplaced(std::string_view text, TObject* object) { FItems.AddLater(text, object); }
  void ReserveUnplaced(int count) { FItems.ReserveLater(count); }
  bool DeleteUnplaced(std::string_view text, const TObject* object) noexcept {
    return FItems.DeleteWaiting(text, object);
  }

 private:
  void ChangedThroughout() {
    Rearranged();
    Changed();
  }
  int AddItem(std::string_view text, TObjectHandle object);
  void AddItems(const TTextList<TObjectHandle>& items);
  void ReplaceTexts(const std::vector<std::string>& texts);

  TTextList<TObjectHandle> FItems;
  TNotifyEvent FOnChange;
  int FUpdateCount = 0;
  bool FChangedInUpdate = false;
  char FDelimiter = ',';
  char FQuoteChar = '"';
  bool FStrictDelimiter = false;
};

}  // namespace perlayer
