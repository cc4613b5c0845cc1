/* The ownership words as types that templates can read (slot_types.h). No include guard: pairs with
 * no_words.h around every use of a slot list. */
#define Gives(type) ::contract::Given<type>
#define Lends(type) ::contract::Lent<type>
#define Takes(type) ::contract::Taken<type>
#define Optional(type) ::contract::MaybeNull<type>
