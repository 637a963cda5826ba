/* A class's members come in groups, one per concern (lifecycle, properties, creation,
   encoding, ...), each defined in the file of the functions that serve it. Before the
   class is registered, the groups of each of its tables are joined into the one array
   that the class record points at. The joined arrays live as long as the process, as
   the host keeps pointing into them. */
#ifndef QVR_PLUGIN_MEMBER_ROWS_H
#define QVR_PLUGIN_MEMBER_ROWS_H

#include <stddef.h>
#include <stdint.h>

#include "plugin/host_sdk.h"

#include <initializer_list>
#include <memory>
#include <new>
#include <vector>

template <typename Row>
struct MemberRows {
  const Row* rows;
  uintptr_t count;
};

template <typename Row, size_t N>
constexpr MemberRows<Row> RowsOf(const Row (&rows)[N]) {
  return {rows, N};
}

/* Points table and count at a new array holding every group's rows in the order given;
   an empty join leaves the table null. */
/* A method row of the usual kind: host flag 0x4, not assignable, no attributes. */
template <typename Function>
REALmethodDefinition MethodRow(Function* function, const char* declaration) {
  return {reinterpret_cast<void*>(function), nullptr, declaration, REALflagHost4, 0, nullptr};
}

/* Property rows of the usual kind: host flags 0x6, no attributes; read-only without a setter. */
template <typename Getter, typename Setter>
REALproperty PropertyRow(const char* name, const char* type, Getter getter, Setter setter) {
  return {nullptr, name, type, REALflagHost2 | REALflagHost4, reinterpret_cast<void*>(getter),
          reinterpret_cast<void*>(setter), 0, nullptr, 0, nullptr, 0, nullptr};
}

template <typename Getter>
REALproperty ReadOnlyPropertyRow(const char* name, const char* type, Getter getter) {
  return {nullptr, name, type, REALflagHost2 | REALflagHost4, reinterpret_cast<void*>(getter), nullptr,
          0, nullptr, 0, nullptr, 0, nullptr};
}

/* Every joined array also hangs on one list in static memory, so that it stays reachable
   for the life of the process even where a registration for an older host replaces the
   class record's pointers by those of copies in that host's layout. */
struct alignas(16) JoinedRows {
  JoinedRows* next;
};

inline JoinedRows*& JoinedRowsList() {
  static JoinedRows* head = nullptr;
  return head;
}

template <typename Row>
void JoinMemberRows(std::initializer_list<MemberRows<Row>> groups, Row*& table, uintptr_t& count) {
  static_assert(alignof(Row) <= alignof(JoinedRows), "rows follow the list link");
  uintptr_t total = 0;
  for (const MemberRows<Row>& group : groups) total += group.count;
  table = nullptr;
  count = total;
  if (total == 0) return;
  auto* block = static_cast<JoinedRows*>(::operator new(sizeof(JoinedRows) + total * sizeof(Row)));
  block->next = JoinedRowsList();
  JoinedRowsList() = block;
  Row* end = reinterpret_cast<Row*>(block + 1);
  table = end;
  for (const MemberRows<Row>& group : groups) end = std::uninitialized_copy(group.rows, group.rows + group.count, end);
}

#endif
