/* The ownership words as a compiler of plain C reads them: as nothing. No include guard: pairs with
 * no_words.h around every use of a slot list. */
#define Gives(type) type
#define Lends(type) type
#define Takes(type) type
#define Optional(type) type
