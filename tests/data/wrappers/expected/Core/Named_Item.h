//Core/Named_Item.h : generated file

#pragma once

#include <QEL/InstanceWrapper.h>

namespace WRAPPER_NPS
{
	//---------------------------------------------------------------
	/// Wrapper over category "Named Item"
	/// Description : Something with a name.
	///It may have a second line,
	///and a third.
	//---------------------------------------------------------------
	class Named_Item : public QEL::CategoryWrapper
	{
	public:

		//---------------------------------------------------------------
		/// Wrapper over property "Named Item.Public"
		/// Description : 
		/// Type : Bookmark
		/// Transient : no
		//---------------------------------------------------------------
		class Public : public QEL::BookmarkPropertyWrapper
		{
		public:
			/// A typedef giving access to the declaring category
			typedef Named_Item DeclaringCategory;

			/// @name Life cycle
			/// @{

			Public(const QEL::InstanceWrapper & iw) : QEL::BookmarkPropertyWrapper(iw) {}
			virtual ~Public() {}
			/// @}

			/// @name Static methods
			/// @{

			/// @return property qualified name 
			static const ORLO::String & getName() { static ORLO::String name = "Named Item.Public"; return name; }

			/// @return property id
			static int getId() { return 1004; }

			/// @return fetched property
			static const QEL::IProperty * getProperty()
			{
				static const QEL::IProperty * prop = NULL;
				static const QEL::IMetaModel * mm = NULL;
				static std::size_t mmVersion = 0;
				if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
				{
					mm = &getMetaModel(); 
					mmVersion = mm->GetVersion(); 
					prop = NULL; 
				}
				if (!prop) prop = mm->GetProperty(getName());
				return prop;
			}

			/// @}

			private : virtual const QEL::IProperty * getPropertyInternal() const { return getProperty(); }

		};

		//---------------------------------------------------------------
		/// Wrapper over property "Named Item.name"
		/// Description : The name
		/// Type : String
		/// Transient : no
		//---------------------------------------------------------------
		class name : public QEL::StringPropertyWrapper
		{
		public:
			/// A typedef giving access to the declaring category
			typedef Named_Item DeclaringCategory;

			/// @name Life cycle
			/// @{

			name(const QEL::InstanceWrapper & iw) : QEL::StringPropertyWrapper(iw) {}
			virtual ~name() {}
			/// @}

			/// @name Static methods
			/// @{

			/// @return property qualified name 
			static const ORLO::String & getName() { static ORLO::String name = "Named Item.name"; return name; }

			/// @return property id
			static int getId() { return 1002; }

			/// @return fetched property
			static const QEL::IProperty * getProperty()
			{
				static const QEL::IProperty * prop = NULL;
				static const QEL::IMetaModel * mm = NULL;
				static std::size_t mmVersion = 0;
				if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
				{
					mm = &getMetaModel(); 
					mmVersion = mm->GetVersion(); 
					prop = NULL; 
				}
				if (!prop) prop = mm->GetProperty(getName());
				return prop;
			}

			/// @}

			private : virtual const QEL::IProperty * getPropertyInternal() const { return getProperty(); }

		};

		//---------------------------------------------------------------
		/// Wrapper over property "Named Item.public"
		/// Description : 
		/// Type : Integer
		/// Transient : no
		//---------------------------------------------------------------
		class is_public : public QEL::IntegerPropertyWrapper
		{
		public:
			/// A typedef giving access to the declaring category
			typedef Named_Item DeclaringCategory;

			/// @name Life cycle
			/// @{

			is_public(const QEL::InstanceWrapper & iw) : QEL::IntegerPropertyWrapper(iw) {}
			virtual ~is_public() {}
			/// @}

			/// @name Static methods
			/// @{

			/// @return property qualified name 
			static const ORLO::String & getName() { static ORLO::String name = "Named Item.public"; return name; }

			/// @return property id
			static int getId() { return 1003; }

			/// @return fetched property
			static const QEL::IProperty * getProperty()
			{
				static const QEL::IProperty * prop = NULL;
				static const QEL::IMetaModel * mm = NULL;
				static std::size_t mmVersion = 0;
				if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
				{
					mm = &getMetaModel(); 
					mmVersion = mm->GetVersion(); 
					prop = NULL; 
				}
				if (!prop) prop = mm->GetProperty(getName());
				return prop;
			}

			/// @}

			private : virtual const QEL::IProperty * getPropertyInternal() const { return getProperty(); }

		};

		/// @name Life cycle
		/// @{

		/// @param		inst		instance to be wrapped -OR- its id
		/// @param		check_type	whether instance type must be validated against wrapper category
		/// @pre		given instance is valid
		/// @note		creating a wrapper does not create an instance
		Named_Item(const QEL::IInstance * inst,bool check_type = true)
			: QEL::CategoryWrapper(inst,check_type ? getCategory() : NULL)
			, Public(getCInstance())
			, name(getCInstance())
			, is_public(getCInstance())
		{}
		Named_Item(QEL::IInstance * inst,bool check_type = true)
			: QEL::CategoryWrapper(inst,check_type ? getCategory() : NULL)
			, Public(getInstance())
			, name(getInstance())
			, is_public(getInstance())
		{}
		Named_Item(const QEL::SId & inst,bool check_type = true)
			: QEL::CategoryWrapper(inst,check_type ? getCategory() : NULL)
			, Public(getInstance())
			, name(getInstance())
			, is_public(getInstance())
		{}
		/// @note deleting a wrapper does not delete its wrapped instance
		virtual ~Named_Item() {} 
		/// @}

		/// @name Static methods
		/// @{

		/// @return category or type name
		static const ORLO::String & getName() { static ORLO::String name = "Named Item"; return name; }

		/// @return category or type id
		static int getId() { return 1001; }

		/// @return fetched category
		static const QEL::ICategory * getCategory()
		{
			static const QEL::ICategory * cat = NULL;
			static const QEL::IMetaModel * mm = NULL;
			static std::size_t mmVersion = 0;
			if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) 
			{
				mm = &getMetaModel(); 
				mmVersion = mm->GetVersion(); 
				cat = NULL; 
			}
			if (!cat) cat = mm->GetCategory(getName());
			return cat;
		}

		/// @name Recursively inherited category compounds
		/// @{
		/// @}

		/// @name Local property compounds
		/// @{
		Public Public;
		name name;
		is_public is_public;
		/// @}

		private : virtual const QEL::ICategory * getCategoryInternal() const { return getCategory(); }

	};
};

//EOF

