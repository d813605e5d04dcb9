#pragma once

// A place in the tree that a certificate's handle visits and comes back from.

#include <string_view>

#include "velmora/support/log/log_base.h"
#include "velmora/support/text/x_string.h"
#include "velmora/support/xml/cls_xml.h"

namespace velmora {

/// The path from the root of a certificate to its SubjectPublicKeyInfo.
inline constexpr std::string_view kSpkiPath = "sequence|sequence[4]|$";

/// Moves a tree's handle somewhere else for a scope, and back when the scope ends, however it does.
/// To be made after the lock under which the handle moves. What is false has not moved.
///
/// Where what a strange name renders as rests on a handle that a walk leaves a level off, the walk
/// makes its moves by hand, inside of one of these.
class TreeVisit {
 public:
  /// From the root of `tree`, which may be null, along a path that ends in "$"; then to the root,
  /// wherever the handle stands by then.
  TreeVisit(ClsXml* tree, std::string_view path)
      : TreeVisit(tree, tree != nullptr && follow(*tree, path), &ClsXml::GetRoot2) {}

  /// The same after a move from the root that the caller has made; `moved` says whether it arrived.
  static TreeVisit fromRoot(ClsXml& tree, bool moved) { return {&tree, moved, &ClsXml::GetRoot2}; }

  /// To a child, and from there to the parent, when there is such a child.
  static TreeVisit toChild(ClsXml& at, int i) { return toParent(at, at.getChild2(i)); }
  static TreeVisit toChild(ClsXml& at, const char* tag) { return toParent(at, at.findChild2(tag)); }

  ~TreeVisit() {
    if (m_tree != nullptr) (m_tree->*m_back)();
  }
  TreeVisit(const TreeVisit&) = delete;
  TreeVisit& operator=(const TreeVisit&) = delete;

  explicit operator bool() const noexcept { return m_moved; }

 private:
  using Move = bool (ClsXml::*)() noexcept;

  TreeVisit(ClsXml* tree, bool moved, Move back) noexcept
      : m_tree(tree), m_back(back), m_moved(moved) {}

  static TreeVisit toParent(ClsXml& at, bool moved) noexcept {
    return {moved ? &at : nullptr, moved, &ClsXml::getParent2};
  }

  static bool follow(ClsXml& tree, std::string_view path) {
    LogNull noLog;
    XString unused;
    return tree.velmoraPath(path, unused, noLog);
  }

  ClsXml* m_tree;  // null for a handle that has not moved and needs no way back
  Move m_back;
  bool m_moved;
};

}  // namespace velmora
