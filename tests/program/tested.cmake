set(tested velnor3gpp_program)
