# The JSON library stands on a parser that need not be there.
set(tested velnor3gpp_json)
