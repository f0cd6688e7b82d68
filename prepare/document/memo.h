/*
 * memo.h - what a pass remembers as long as the document lives
 *
 * Each pass keeps a structure of its own, which nobody else knows; it begins empty when the pass
 * first asks for it.
 */
#ifndef PREPARE_DOCUMENT_MEMO_H
#define PREPARE_DOCUMENT_MEMO_H

#include <map>
#include <memory>
#include <typeindex>

namespace prepare {

class Memos
{
  public:
    template <class Memo> Memo &of()
    {
        std::shared_ptr<void> &kept = all[std::type_index(typeid(Memo))];
        if (!kept)
            kept = std::make_shared<Memo>();
        return *static_cast<Memo *>(kept.get());
    }

  private:
    std::map<std::type_index, std::shared_ptr<void>> all;
};

} // namespace prepare

#endif
