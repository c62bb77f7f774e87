// Reference of struct and object arrays: their slots as an array with the fields as its first dimension.
