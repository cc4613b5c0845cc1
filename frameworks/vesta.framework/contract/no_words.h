/* Ends what plain_words.h or tagged_words.h began. */
#undef Gives
#undef Lends
#undef Takes
#undef Optional
