-- A small lending library: the sample database of ./run. Runs on SQLite, PostgreSQL and MariaDB.
CREATE TABLE author (
    id INTEGER PRIMARY KEY,
    name VARCHAR(80) NOT NULL,
    born DATE
);
CREATE TABLE book (
    id INTEGER PRIMARY KEY,
    author_id INTEGER NOT NULL REFERENCES author (id),
    title VARCHAR(120) NOT NULL,
    language VARCHAR(20) NOT NULL,
    published INTEGER NOT NULL,
    price DECIMAL(8,2) NOT NULL
);
CREATE TABLE loan (
    id INTEGER PRIMARY KEY,
    book_id INTEGER NOT NULL REFERENCES book (id),
    reader VARCHAR(60) NOT NULL,
    lent TIMESTAMP NOT NULL,
    back TIMESTAMP NULL
);

INSERT INTO author VALUES (1, 'Jane Austen', '1775-12-16');
INSERT INTO author VALUES (2, '曹雪芹', NULL);
INSERT INTO author VALUES (3, 'Фёдор Достоевский', '1821-11-11');
INSERT INTO author VALUES (4, 'Émile Zola', '1840-04-02');
INSERT INTO author VALUES (5, '紫式部', NULL);
INSERT INTO author VALUES (6, 'نجيب محفوظ', '1911-12-11');
INSERT INTO author VALUES (7, 'Selma Lagerlöf', '1858-11-20');
INSERT INTO author VALUES (8, 'रवीन्द्रनाथ ठाकुर', '1861-05-07');

INSERT INTO book VALUES (1, 1, 'Pride and Prejudice', 'English', 1813, 9.95);
INSERT INTO book VALUES (2, 1, 'Emma', 'English', 1815, 8.50);
INSERT INTO book VALUES (3, 2, '红楼梦', 'Chinese', 1791, 24.00);
INSERT INTO book VALUES (4, 3, 'Преступление и наказание', 'Russian', 1866, 12.40);
INSERT INTO book VALUES (5, 3, 'Идиот', 'Russian', 1869, 11.80);
INSERT INTO book VALUES (6, 4, 'Au Bonheur des Dames', 'French', 1883, 10.10);
INSERT INTO book VALUES (7, 4, 'Germinal', 'French', 1885, 9.90);
INSERT INTO book VALUES (8, 5, '源氏物語', 'Japanese', 1008, 31.75);
INSERT INTO book VALUES (9, 6, 'بين القصرين', 'Arabic', 1956, 14.20);
INSERT INTO book VALUES (10, 7, 'Gösta Berlings saga', 'Swedish', 1891, 13.05);
INSERT INTO book VALUES (11, 8, 'गोरा', 'Bengali', 1910, 7.60);

INSERT INTO loan VALUES (1, 1, 'Ada 📚', '2026-09-01 10:15:00', '2026-09-20 16:40:12.25');
INSERT INTO loan VALUES (2, 3, 'Bo', '2026-09-03 09:00:00', NULL);
INSERT INTO loan VALUES (3, 4, 'Ada 📚', '2026-09-20 16:45:00', '2026-10-11 11:05:30');
INSERT INTO loan VALUES (4, 8, 'Chloé', '2026-10-02 14:30:00', NULL);
INSERT INTO loan VALUES (5, 1, 'Dmitri', '2026-10-05 12:00:00', '2026-10-06 08:59:59.999999');
INSERT INTO loan VALUES (6, 7, 'Bo', '2026-10-21 17:20:00', NULL);
