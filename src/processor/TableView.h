#pragma once

#include <cstddef>
#include <initializer_list>

/// A view of rows that somebody else keeps, mostly a constant table. Copies see the same rows.
template <typename Row>
class TableView {
 public:
  constexpr TableView() = default;
  constexpr explicit TableView(const Row* first, std::size_t count) : first_(first), last_(first + count) {}
  template <std::size_t count>
  constexpr TableView(const Row (&rows)[count]) : TableView(rows, count) {}  // NOLINT: a table is its view
  // Rows that would be gone at the end of the line.
  template <std::size_t count>
  TableView(const Row (&&rows)[count]) = delete;
  TableView(std::initializer_list<Row> rows) = delete;

  constexpr const Row* begin() const { return first_; }
  constexpr const Row* end() const { return last_; }
  constexpr std::size_t size() const { return static_cast<std::size_t>(last_ - first_); }
  constexpr bool empty() const { return first_ == last_; }

 private:
  const Row* first_ = nullptr;
  const Row* last_ = nullptr;
};
